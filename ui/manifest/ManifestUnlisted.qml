import QtQuick
import TallyFold

// The files of the folder that the list does not name.
FocusScope {
    id: root

    required property AuditFlow audit
    required property TFMenu menu
    readonly property alias markedCount: files.markedCount
    readonly property bool hasRows: files.count > 0

    function copySelected() {
        if (files.markedCount > 0)
            audit.copyMarked();
        else
            audit.copyRow(files.selectedIndex());
    }

    TFStaticText {
        id: remarks

        objectName: "unlistedRemarks"
        visible: text !== ""
        text: root.audit.remarks
        color: TallyTheme.secondary
        wrapMode: Text.Wrap

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            leftMargin: TallyTheme.space3
            rightMargin: TallyTheme.space3
            topMargin: TallyTheme.space2
        }
    }

    TFJobList {
        id: files

        objectName: "unlistedList"
        focus: true
        lineHeight: TallyTheme.listRowHeight
        menu: root.menu
        model: root.audit.unlisted
        Accessible.name: qsTr("Files that are not in the list")
        onCopyRequested: root.copySelected()

        anchors {
            left: parent.left
            right: parent.right
            top: remarks.visible ? remarks.bottom : parent.top
            bottom: parent.bottom
            topMargin: remarks.visible ? TallyTheme.space2 : 0
        }

        delegate: TFJobRow {
            id: row

            required property string path

            Accessible.name: path

            contentItem: Item {
                implicitHeight: TallyTheme.listRowHeight

                TFIcon {
                    id: icon

                    anchors.verticalCenter: parent.verticalCenter
                    x: TallyTheme.space3
                    name: "doc"
                    color: TallyTheme.tertiary
                }

                TFNameText {
                    objectName: "path"
                    text: row.path
                    font.weight: Font.Medium

                    anchors {
                        left: icon.right
                        right: parent.right
                        leftMargin: TallyTheme.space3
                        rightMargin: TallyTheme.space3
                        verticalCenter: parent.verticalCenter
                    }
                }
            }
        }
    }
}
