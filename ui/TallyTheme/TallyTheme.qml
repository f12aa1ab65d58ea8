pragma Singleton
import QtQuick
import TallyFold

// Every colour, distance, radius and size of the interface, and the icons of modes and results.
QtObject {
    readonly property color backgroundTop: "#171C2B"
    readonly property color backgroundBottom: "#0B0E16"
    readonly property color panel: "#1E2434"
    // Fields and buttons of the panels that the toolkit draws itself.
    readonly property color panelField: "#10141F"
    readonly property color panelButton: "#242A3B"

    readonly property color surface: Qt.rgba(1, 1, 1, 0.05)
    readonly property color raised: Qt.rgba(1, 1, 1, 0.08)
    readonly property color pressed: Qt.rgba(1, 1, 1, 0.12)
    readonly property color hairline: Qt.rgba(1, 1, 1, 0.09)
    // The border of what can be used; that of what only stands there is the hairline.
    readonly property color controlEdge: "#78839D"
    readonly property color track: Qt.rgba(1, 1, 1, 0.10)

    readonly property color primary: "#E9EDF5"
    readonly property color secondary: "#B8C2D5"
    readonly property color tertiary: "#A0ABC1"

    readonly property color accent: "#8AB4FF"
    readonly property color accentHover: "#A3C4FF"
    readonly property color accentPressed: "#6F9FF2"
    readonly property color inkOnAccent: "#0B0E16"
    readonly property color accentTint: tint(accent)
    readonly property color accentReach: Qt.alpha(accent, 0.5)
    readonly property color accentEdge: Qt.alpha(accent, 0.6)

    readonly property color good: "#5FDC94"
    readonly property color bad: "#FF8A8A"
    readonly property color caution: "#F5C15D"
    readonly property color scrollHover: Qt.alpha(tertiary, 0.8)
    readonly property color scrollRest: Qt.alpha(tertiary, 0.45)
    readonly property color scrim: Qt.rgba(0.02, 0.03, 0.05, 0.6)

    // Only between lines that belong together.
    readonly property int space0: 2
    readonly property int space1: 4
    readonly property int space2: 8
    readonly property int space3: 12
    readonly property int space4: 16
    readonly property int space5: 20
    readonly property int space6: 24
    readonly property int space8: 32

    // Between the edge of a list, a chip or a tip and what is in it.
    readonly property int rowMargin: space0 + space1
    readonly property int chipSpacing: space0 + space1
    readonly property int modePadding: 5
    readonly property int aboutSpacing: 10
    readonly property int scrollPadding: 3

    readonly property int lineWidth: 1
    readonly property int focusWidth: 2
    // How far a focus ring is inside its control: negative, as it is around it.
    readonly property int ring: -4
    readonly property int chipRing: -3
    readonly property int tightRing: -2
    // The bar beside a selected row.
    readonly property int selectionWidth: 3

    readonly property int cardRadius: 14
    readonly property int controlRadius: 8
    readonly property int chipRadius: 6

    readonly property real textScale: DesktopSettings.textScale
    readonly property int titleSize: Math.round(22 * textScale)
    readonly property int sectionSize: Math.round(15 * textScale)
    readonly property int navigationSize: Math.round(14 * textScale)
    readonly property int bodySize: Math.round(13 * textScale)
    readonly property int captionSize: Math.round(11 * textScale)
    readonly property int digestSize: Math.round(12.5 * textScale)
    readonly property string digestFont: DesktopSettings.digestFont

    readonly property int controlHeight: Math.round(32 * textScale)
    readonly property int smallControlHeight: Math.round(28 * textScale)
    readonly property int rowHeight: Math.round(48 * textScale)
    // Narrower, the name of a file and the facts about it stand below each other.
    readonly property real oneLineRowWidth: 640 * textScale
    // What a list keeps of a screen that scrolls.
    readonly property real leastListHeight: 160 * textScale
    // The height of rows that are one line each.
    readonly property int listRowHeight: Math.round(34 * textScale)
    readonly property int markSize: Math.round(11 * textScale)
    readonly property int chevronSize: Math.round(12 * textScale)
    readonly property int smallIconSize: Math.round(14 * textScale)
    readonly property int iconSize: Math.round(16 * textScale)
    readonly property int titleIconSize: Math.round(20 * textScale)
    readonly property int cardIconSize: Math.round(24 * textScale)
    readonly property int largeIconSize: Math.round(32 * textScale)
    readonly property int verdictIconSize: Math.round(40 * textScale)
    readonly property int progressWidth: 160
    readonly property int readingWidth: 520 * textScale
    readonly property int progressHeight: 6
    readonly property real leastScrollShare: 0.06

    // Extents of the window, its parts and its panels.
    readonly property int leastHeight: 520
    readonly property int leastScreenWidth: 720
    readonly property int leastSidebarWidth: 165
    readonly property int sidebarWidth: 190
    // A window that is wide for its text has room for a sidebar that is wide for its text.
    readonly property real wideWidth: narrowWidth * textScale
    readonly property real wideSidebarWidth: sidebarWidth * textScale
    // Narrower, a mode shows its state in the place of its icon.
    readonly property real tightSidebarWidth: leastSidebarWidth * textScale
    // A narrower window has its sidebar at the least width.
    readonly property int narrowWidth: 900
    // A lower screen saves height.
    readonly property real shortHeight: 600 * textScale
    readonly property int aboutWidth: 420
    readonly property real alertWidth: 420 * textScale
    readonly property real sheetWidth: 560 * textScale
    readonly property int sampleLines: 4
    readonly property int alertButtonWidth: 88

    // Extents of cards, banners and fields.
    readonly property int dropCardHeight: Math.round(168 * textScale)
    // What a drop card takes of the height of its screen, at the most.
    readonly property real dropCardShare: 1 / 3
    readonly property real fileCardHeight: 120 * textScale
    readonly property real listCardHeight: 92 * textScale
    readonly property int verdictHeight: 72
    readonly property real listVerdictHeight: 80 * textScale
    readonly property real fieldHeight: 80 * textScale
    // Narrower, a card for a file has its buttons below its text.
    readonly property real narrowCardWidth: 280 * textScale
    readonly property real leastEditorHeight: 72 * textScale
    // The width of a screen that is one column: in the usual window it begins where the others do.
    readonly property real columnWidth: 764 * textScale
    // What the checksums take of the height of the Text screen, at the most.
    readonly property real checksumsShare: 0.58
    readonly property real proposalWidth: 96 * textScale
    readonly property real proposalShare: 0.17

    readonly property real findWidth: 200 * textScale
    readonly property real leastFindWidth: 120 * textScale
    // In characters.
    readonly property int longestSearch: 255
    readonly property real runButtonWidth: 112 * textScale
    // What a run bar keeps for its progress and its figure.
    readonly property real leastRunWidth: 160 * textScale
    readonly property real menuWidth: 200 * textScale
    readonly property real listMenuWidth: 220 * textScale
    readonly property real algorithmMenuWidth: 160 * textScale
    readonly property real shortMenuWidth: 140 * textScale
    readonly property real wideMenuWidth: 320 * textScale
    readonly property real tipWidth: 480 * textScale

    // Columns, each as wide as the longest of the words that come into it.
    readonly property real percentWidth: 36 * textScale
    readonly property real algorithmWidth: 58 * textScale
    readonly property real listAlgorithmWidth: 56 * textScale
    readonly property real listStatusWidth: 64 * textScale
    readonly property real chipColumnWidth: 84 * textScale
    readonly property real classificationWidth: 85 * textScale
    readonly property real verdictLabelWidth: 72 * textScale
    readonly property real expectedLabelWidth: 124 * textScale
    // The widest copy button, and the space around it.
    readonly property int copyColumnWidth: 116 * textScale

    // How far below the top of a control a line of digits begins that stands in the middle of it.
    readonly property int digestInset: Math.round((controlHeight - digestSize * 1.35) / 2)
    readonly property int smallDigestInset: Math.round((smallControlHeight - digestSize * 1.35) / 2)
    readonly property int digestGap: Math.round(4 * textScale)
    // In digits: room for the most usual digests, so that what stands beside them forms a column.
    readonly property int usualDigestLine: 64
    readonly property real disabledOpacity: 0.4

    readonly property int hoverDuration: DesktopSettings.isMotionWanted ? 120 : 0
    readonly property int spinDuration: 900
    readonly property bool isMotionWanted: DesktopSettings.isMotionWanted
    readonly property int tipDelay: 500
    readonly property int followInterval: 100
    // Work that is done sooner does not change the height of its row.
    readonly property int longWorkDelay: 400
    // How long a button says that it was pressed.
    readonly property int tickDuration: 1000

    function toneColor(tone: int): color {
        switch (tone) {
        case Tone.Good:
            return good;
        case Tone.Bad:
            return bad;
        case Tone.Caution:
            return caution;
        case Tone.Working:
            return accent;
        }
        return tertiary;
    }

    // A state's colour as the fill and as the border of what is in that state.
    function tint(color: color): color {
        return Qt.rgba(color.r, color.g, color.b, 0.12);
    }

    function edge(color: color): color {
        return Qt.rgba(color.r, color.g, color.b, 0.3);
    }

    function iconOfMode(mode: int): string {
        return {
            [AppMode.Files]: "doc.on.doc",
            [AppMode.Text]: "textformat",
            [AppMode.Verify]: "checkmark.shield",
            [AppMode.Manifest]: "checklist",
            [AppMode.Compare]: "arrow.left.arrow.right"
        }[mode];
    }

    // The icon of everything that can come of work, by its case.
    function iconOfVerification(kind: int): string {
        switch (kind) {
        case VerifyVerdict.Match:
            return "checkmark.shield.fill";
        case VerifyVerdict.Mismatch:
            return "xmark.shield.fill";
        case VerifyVerdict.InvalidExpectedHash:
            return "questionmark.diamond.fill";
        case VerifyVerdict.Error:
        case VerifyVerdict.AmbiguousExpectedHash:
            return "exclamationmark.triangle.fill";
        }
        return "";
    }

    function iconOfComparison(kind: int): string {
        switch (kind) {
        case CompareVerdict.Identical:
            return "checkmark.circle.fill";
        case CompareVerdict.DifferentSize:
        case CompareVerdict.ContentMismatch:
            return "xmark.circle.fill";
        }
        return "";
    }

    function iconOfList(kind: int): string {
        switch (kind) {
        case ManifestVerdict.NotVerifiedYet:
        case ManifestVerdict.Verifying:
            return "checklist";
        case ManifestVerdict.AllMatch:
            return "checkmark.circle.fill";
        case ManifestVerdict.Mismatches:
            return "xmark.circle.fill";
        case ManifestVerdict.Unreadable:
        case ManifestVerdict.Ambiguous:
        case ManifestVerdict.OtherAlgorithm:
        case ManifestVerdict.NothingToVerify:
        case ManifestVerdict.NotAllChecked:
        case ManifestVerdict.NotEnded:
        case ManifestVerdict.NotAllUnderstood:
            return "exclamationmark.triangle.fill";
        }
        return "";
    }

    function iconOfEntry(state: int): string {
        switch (state) {
        case ManifestJobListModel.Queued:
            return "circle";
        case ManifestJobListModel.Match:
            return "checkmark.circle.fill";
        case ManifestJobListModel.Mismatch:
            return "xmark.circle.fill";
        case ManifestJobListModel.Failed:
            return "exclamationmark.triangle.fill";
        }
        return "";
    }

    function iconOfFile(state: int): string {
        switch (state) {
        case FileJobListModel.Queued:
            return "clock";
        case FileJobListModel.Complete:
            return "checkmark.circle.fill";
        case FileJobListModel.Failed:
            return "exclamationmark.triangle.fill";
        }
        return "";
    }

    function iconOfOutcome(outcome: int): string {
        switch (outcome) {
        case Outcome.AllWell:
            return "checkmark.circle.fill";
        case Outcome.SomeFailed:
            return "exclamationmark.triangle.fill";
        }
        return "";
    }
}
