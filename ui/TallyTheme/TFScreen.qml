import QtQuick
import TallyFold

// What is beside the sidebar in one mode, and only then: its title, and the distances that every mode keeps.
FocusScope {
    id: screen

    required property AppViewModel viewModel
    required property int mode
    property alias title: header.title
    property alias subtitle: header.subtitle
    readonly property alias header: header
    // The distance of what the screen shows from the edges.
    readonly property int gutter: TallyTheme.space6
    property real headerGutter: gutter
    // The height is so little that what the screen is about comes before the space around it.
    property bool isShort: false
    // What gets the keys when the screen comes, and when what had them cannot keep them.
    required property Item firstPlace
    // The keys stay where they are outside the screen.
    property bool isKeyboardAway: false
    property Item lastFirstPlace
    // Nothing is dropped behind the alert.
    readonly property bool takesDrops: viewModel.errorMessage === ""

    function takeKeyboard() {
        if (!visible || !firstPlace)
            return;
        if (isKeyboardAway)
            firstPlace.focus = true;
        else
            firstPlace.forceActiveFocus();
    }

    anchors.fill: parent
    visible: viewModel.mode === mode
    focus: visible
    onVisibleChanged: takeKeyboard()
    // Whoever has not moved on goes along.
    onFirstPlaceChanged: {
        if (lastFirstPlace?.activeFocus)
            takeKeyboard();
        lastFirstPlace = firstPlace;
    }
    Component.onCompleted: takeKeyboard()

    TFSectionHeader {
        id: header

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            leftMargin: screen.headerGutter
            rightMargin: screen.headerGutter
            topMargin: screen.isShort ? TallyTheme.space3 : screen.gutter
        }
    }
}
