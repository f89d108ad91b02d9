pragma Singleton
import QtQuick
import Fikranest

// The colours, type sizes and spacings every screen draws with. The blues stay in
// AppPalette, which the icons rendered in C++ read too.
QtObject {
    readonly property color blue50: AppPalette.blue50
    readonly property color blue100: AppPalette.blue100
    readonly property color blue600: AppPalette.blue600
    readonly property color blue800: AppPalette.blue800

    function categoryColor(category) {
        return AppPalette.categoryColor(category)
    }

    // The platform's colours. Green is the one for anything that went well; orange
    // marks a reminder or a fallback; red is for deleting, for failures and for the
    // microphone that listens.
    readonly property color green: "#34C759"
    readonly property color orange: "#FFA500"
    readonly property color red: "#FF3B30"
    readonly property color telegramBlue: "#0088CC"

    readonly property color white: "white"
    readonly property color primaryText: "#1F2937"
    readonly property color secondaryText: "#6B7280"
    readonly property color tertiaryText: "#9CA3AF"
    readonly property color separator: "#E5E7EB"

    // A tint behind a symbol of that colour, or a see-through white on the blue.
    function faded(base, alpha) {
        return Qt.rgba(base.r, base.g, base.b, alpha)
    }

    // Font pixel sizes, which the symbols beside a text share.
    readonly property int caption2: 11
    readonly property int caption: 12
    readonly property int footnote: 13
    readonly property int subheadline: 14
    readonly property int callout: 15
    readonly property int body: 16
    readonly property int headline: 17
    readonly property int title3: 18
    readonly property int title2: 20
    readonly property int title: 22
    readonly property int largeTitle: 28
    readonly property int display: 48

    // Gaps, paddings and margins; the margin keeps content off a page's edges.
    readonly property int spacingXXXS: 2
    readonly property int spacingXXS: 4
    readonly property int spacingXS: 6
    readonly property int spacingS: 8
    readonly property int spacingM: 10
    readonly property int spacingL: 12
    readonly property int spacingXL: 14
    readonly property int spacingXXL: 16
    readonly property int margin: 20
    readonly property int marginL: 24

    // Corners: small for banners and links, up to the cards' and big buttons'.
    readonly property int radiusS: 8
    readonly property int radiusM: 10
    readonly property int radiusL: 12
    readonly property int radiusXL: 14
    readonly property int radiusXXL: 16

    readonly property int toolbarHeight: 44
    readonly property int navigationBarHeight: 52
    readonly property int panelWidth: 280
}
