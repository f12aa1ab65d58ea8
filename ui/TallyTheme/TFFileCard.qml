import QtQuick
import TallyFold

// One chosen file or folder, or the invitation to choose one; takes a dropped one too.
TFGlassCard {
    id: root

    property string title
    property fileCard file
    property string refusal
    property string icon: "doc"
    property string emptyName: qsTr("No file selected")
    property string hint: qsTr("Drop a file here, or choose one.")
    property string tip
    // What else there is to say about it, on a line of its own.
    property string facts
    property proposedFolder proposal
    // How it can be read, and how it is; no menu where that is empty.
    property alias readings: reading.choices
    property alias reading: reading.choice
    // What else can be done here, in a word; empty when nothing.
    property string action
    property string actionTip
    property string actionRefusal
    readonly property bool isEmpty: !file.isPresent
    readonly property Item choosePlace: choose.place

    signal chooseRequested
    // There is another one, and the keys are where it was chosen.
    signal chosen
    signal proposalAccepted
    signal readingChosen(string name)
    signal actionRequested

    readonly property bool isNarrow: width < TallyTheme.narrowCardWidth
    readonly property string path: isEmpty ? "" : file.folder + "/" + file.name

    onPathChanged: {
        if (!isEmpty && choosePlace.focus)
            chosen();
    }

    implicitHeight: (isNarrow ? content.height + TallyTheme.space2 + buttons.height : Math.max(content.height, buttons.height)) + 2 * TallyTheme.space4
    Accessible.role: Accessible.Grouping
    Accessible.name: root.title + ": " + (root.isEmpty ? root.emptyName : root.file.name)

    TFIcon {
        id: icon

        x: TallyTheme.space4
        anchors.verticalCenter: content.verticalCenter
        name: root.isEmpty ? "arrow.down.doc" : root.icon
        size: TallyTheme.cardIconSize
        color: root.isTargeted ? TallyTheme.accent : TallyTheme.secondary
    }

    Column {
        id: content

        spacing: TallyTheme.space0
        x: icon.x + icon.width + TallyTheme.space3
        y: (root.height - height - (root.isNarrow ? TallyTheme.space2 + buttons.height : 0)) / 2
        width: (root.isNarrow ? root.width : buttons.x) - TallyTheme.space3 - x

        TFText {
            width: parent.width
            text: root.title
            color: TallyTheme.tertiary
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize
            font.weight: Font.Medium
        }

        TFNameText {
            objectName: "fileName"
            width: parent.width
            text: root.isEmpty ? root.emptyName : root.file.name
            color: root.isEmpty ? TallyTheme.secondary : TallyTheme.primary
            font.weight: Font.Medium
        }

        TFPathText {
            width: parent.width
            visible: !root.isEmpty || root.proposal.isPresent
            path: root.isEmpty ? root.proposal.path : root.file.folder
            facts: root.file.size
        }

        TFText {
            width: parent.width
            visible: root.isEmpty && !root.proposal.isPresent
            text: root.hint
            color: TallyTheme.tertiary
            wrapMode: Text.Wrap
            font.pixelSize: TallyTheme.captionSize
        }

        TFStaticText {
            objectName: "fileFacts"
            width: parent.width
            visible: text !== ""
            text: root.facts
            color: TallyTheme.secondary
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize
        }
    }

    Flow {
        id: buttons

        spacing: TallyTheme.space1
        layoutDirection: root.isNarrow ? Qt.LeftToRight : Qt.RightToLeft
        x: root.isNarrow ? content.x : root.width - width - TallyTheme.space3
        y: root.isNarrow ? content.y + content.height + TallyTheme.space2 : (root.height - height) / 2
        width: root.isNarrow ? content.width : Math.max(choose.width, action.visible ? action.width : 0, propose.visible ? propose.width : 0, reading.visible ? reading.width : 0)

        TFButton {
            id: choose

            objectName: root.objectName + "Choose"
            text: qsTr("Choose…")
            accessibleName: qsTr("Choose %1").arg(root.title)
            tip: root.tip
            refusal: root.refusal
            onClicked: root.chooseRequested()
        }

        TFButton {
            id: action

            objectName: root.objectName + "Action"
            visible: root.action !== ""
            text: root.action
            tip: root.actionTip
            refusal: root.actionRefusal
            onClicked: root.actionRequested()
        }

        TFButton {
            id: propose

            objectName: root.objectName + "Proposal"
            visible: root.proposal.isPresent
            // Isolated, so that a name cannot reorder the words around it.
            text: qsTr("Use “%1”").arg("\u2068" + proposalName.elidedText + "\u2069")
            accessibleName: qsTr("Use %1").arg(root.proposal.path)
            tip: root.proposal.path
            isProminent: root.isEmpty
            refusal: root.refusal
            onClicked: root.proposalAccepted()
        }

        TFMenuButton {
            id: reading

            objectName: root.objectName + "Reading"
            visible: choice !== ""
            description: qsTr("Read as")
            refusal: root.refusal
            onChosen: name => root.readingChosen(name)
        }
    }

    TextMetrics {
        id: proposalName

        text: root.proposal.name
        elide: Text.ElideMiddle
        // The fixed words beside it come first.
        elideWidth: Math.min(TallyTheme.proposalWidth, root.width * TallyTheme.proposalShare)
        font.pixelSize: TallyTheme.bodySize
    }
}
