import QtQuick
import TallyFold

// One queued file: what it is, where it stands, and its digests once they are there.
TFJobRow {
    id: root

    required property AppViewModel viewModel
    required property var jobId
    required property string name
    required property string folder
    required property int state
    required property string status
    required property int tone
    required property real progress
    required property string message
    required property string facts
    required property list<digestLine> digests
    readonly property bool hasFailed: state === FileJobListModel.Failed

    isBad: hasFailed
    Accessible.name: name + also(root.status) + also(message) + also(facts)

    function also(part: string): string {
        return part === "" ? "" : ", " + part;
    }

    contentItem: Column {
        id: content

        Item {
            id: head

            // The name and the facts beside each other.
            readonly property bool isOneLine: width >= TallyTheme.oneLineRowWidth
            readonly property real textWidth: progressAndStatus.x - TallyTheme.space4 - nameText.x

            width: parent.width
            height: isOneLine ? TallyTheme.smallControlHeight : TallyTheme.rowHeight

            TFIcon {
                id: icon

                anchors.verticalCenter: parent.verticalCenter
                x: TallyTheme.space3
                name: "doc"
                color: root.hasFailed ? TallyTheme.bad : TallyTheme.secondary
            }

            TFNameText {
                id: nameText

                objectName: "name"
                room: head.textWidth
                x: icon.x + icon.width + TallyTheme.space3
                y: (head.height - height - (head.isOneLine ? 0 : TallyTheme.space0 + place.height)) / 2
                // A long name leaves the facts as much room as it takes.
                width: head.isOneLine ? Math.min(wantedWidth, Math.max(head.textWidth / 2, head.textWidth - TallyTheme.space3 - place.implicitWidth)) : head.textWidth
                text: root.name
                font.weight: Font.Medium
            }

            TFPathText {
                id: place

                room: head.textWidth

                x: head.isOneLine ? nameText.x + nameText.width + TallyTheme.space3 : nameText.x
                y: head.isOneLine ? (head.height - height) / 2 : nameText.y + nameText.height + TallyTheme.space0
                width: nameText.x + head.textWidth - x
                path: root.folder
                facts: root.facts
            }

            Row {
                id: progressAndStatus

                spacing: TallyTheme.space2

                anchors {
                    right: remove.left
                    rightMargin: TallyTheme.space2
                    verticalCenter: parent.verticalCenter
                }

                Loader {
                    anchors.verticalCenter: parent.verticalCenter
                    active: root.state === FileJobListModel.Hashing
                    visible: active

                    sourceComponent: TFProgress {
                        value: root.progress
                        label: root.name
                    }
                }

                TFIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: name !== ""
                    name: TallyTheme.iconOfFile(root.state)
                    color: TallyTheme.toneColor(root.tone)
                }

                TFText {
                    objectName: "status"
                    anchors.verticalCenter: parent.verticalCenter
                    visible: root.state !== FileJobListModel.Hashing
                    text: root.status
                    color: TallyTheme.toneColor(root.tone)
                    font.weight: Font.Medium
                }
            }

            TFIconButton {
                id: remove

                objectName: "remove"
                name: qsTr("Remove")
                icon: "xmark"
                refusal: root.viewModel.files.queueRefusal
                isTabStop: root.isCurrent
                onClicked: root.viewModel.files.removeJob(root.jobId)

                anchors {
                    right: parent.right
                    rightMargin: TallyTheme.space3
                    verticalCenter: parent.verticalCenter
                }
            }
        }

        Loader {
            x: nameText.x
            width: parent.width - x - TallyTheme.space4
            active: root.hasFailed
            visible: active

            sourceComponent: TFText {
                objectName: "message"
                text: root.message
                height: implicitHeight + TallyTheme.space3
                color: TallyTheme.bad
                wrapMode: Text.Wrap
                verticalAlignment: Text.AlignTop
            }
        }

        Repeater {
            // By number, so that a row that is used again for another file keeps its lines.
            model: root.digests.length

            Item {
                id: line

                required property int index
                readonly property string algorithm: root.digests[index]?.label ?? ""
                readonly property string digest: root.digests[index]?.digest ?? ""

                width: content.width
                height: Math.max(TallyTheme.smallControlHeight, digest.implicitHeight + 2 * digest.y)

                TFText {
                    id: algorithm

                    x: nameText.x
                    width: TallyTheme.algorithmWidth
                    height: TallyTheme.smallControlHeight
                    text: line.algorithm
                    color: TallyTheme.secondary
                    font.pixelSize: TallyTheme.captionSize
                    font.weight: Font.Medium
                }

                TFSelectableText {
                    id: digest

                    objectName: "digest " + line.algorithm
                    name: line.algorithm
                    text: line.digest
                    y: TallyTheme.smallDigestInset

                    anchors.left: algorithm.right
                    width: widthOf(line.width - x - TallyTheme.copyColumnWidth)
                }

                TFButton {
                    id: copy

                    objectName: "copy " + line.algorithm
                    height: TallyTheme.smallControlHeight
                    text: qsTr("Copy %1").arg(line.algorithm)
                    isBorderless: true
                    isConfirmed: true
                    subject: root.jobId
                    isTabStop: root.isCurrent
                    onClicked: root.viewModel.files.copyHash(root.jobId, line.algorithm)

                    anchors.left: digest.right
                    anchors.leftMargin: TallyTheme.space2
                }
            }
        }
    }
}
