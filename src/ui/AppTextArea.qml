import QtQuick
import QtQuick.Controls

// A text area that Tab and Shift+Tab leave, as any other control, instead of typing a
// tab into it: nobody can be kept in a field with the keyboard alone.
TextArea {
    id: area

    // What people type is shown as typed, never read as markup.
    textFormat: TextEdit.PlainText

    Keys.onTabPressed: area.nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
    Keys.onBacktabPressed: area.nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
}
