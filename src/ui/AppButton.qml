import QtQuick
import QtQuick.Controls

// Every button of the program: pressable through the accessibility bus too.
Button {
    Accessible.onPressAction: if (enabled) clicked()
}
