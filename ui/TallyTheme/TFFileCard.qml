import QtQuick
import TallyFold

// One chosen file, or the invitation to choose one; takes a dropped file too.
TFGlassCard {
    id: root

    property string title
    // { name, folder, size }, empty while there is no file.
    property var file: ({})
    property string refusal
    readonly property bool isEmpty: root.file.name === undefined

    signal chooseRequested

    implicitHeight: content.implicitHeight + 2 * TallyTheme.space4
    Accessible.role: Accessible.Grouping
    Accessible.name: root.title + ": " + (root.isEmpty ? qsTr("No file selected") : root.file.name)

    TFIcon {
        id: icon

        x: TallyTheme.space4
        anchors.verticalCenter: parent.verticalCenter
        name: root.isEmpty ? "arrow.down.doc" : "doc"
        size: 24
        color: root.isTargeted ? TallyTheme.accent : TallyTheme.secondary
    }

    Column {
        id: content

        spacing: 2

        anchors {
            left: icon.right
            right: choose.left
            leftMargin: TallyTheme.space3
            rightMargin: TallyTheme.space3
            verticalCenter: parent.verticalCenter
        }

        TFText {
            width: parent.width
            text: root.title
            color: TallyTheme.tertiary
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize
            font.weight: Font.Medium
        }

        TFText {
            objectName: "fileName"
            width: parent.width
            text: root.isEmpty ? qsTr("No file selected") : root.file.name
            color: root.isEmpty ? TallyTheme.secondary : TallyTheme.primary
            elide: Text.ElideMiddle
            font.weight: Font.Medium
        }

        TFText {
            width: parent.width
            text: root.isEmpty ? qsTr("Drop a file here, or choose one.") : root.file.folder + (root.file.size === "" ? "" : " · " + root.file.size)
            color: TallyTheme.tertiary
            elide: Text.ElideMiddle
            font.pixelSize: TallyTheme.captionSize
        }
    }

    TFButton {
        id: choose

        objectName: root.objectName + "Choose"
        text: qsTr("Choose…")
        accessibleName: qsTr("Choose %1").arg(root.title)
        refusal: root.refusal
        onClicked: root.chooseRequested()

        anchors {
            right: parent.right
            rightMargin: TallyTheme.space3
            verticalCenter: parent.verticalCenter
        }
    }
}
