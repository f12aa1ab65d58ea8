import QtQuick
import TallyFold

// Which checksums are calculated: a card, or without one where there is something else to see.
TFGlassCard {
    id: root

    required property AppViewModel viewModel
    property bool isCompact: false
    // Its height is to be little.
    property bool isShort: isCompact
    readonly property real margin: isCompact ? 0 : TallyTheme.space4

    implicitHeight: content.implicitHeight + (isCompact ? 0 : 2 * TallyTheme.space3)
    color: isCompact ? "transparent" : TallyTheme.surface
    border.width: isCompact ? 0 : TallyTheme.lineWidth

    component Note: TFStaticText {
        text: qsTr("All selected algorithms are calculated in one file pass.")
        color: TallyTheme.tertiary
        font.pixelSize: TallyTheme.captionSize
    }

    Column {
        id: content

        spacing: root.isCompact ? TallyTheme.space1 : TallyTheme.space2

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            leftMargin: root.margin
            rightMargin: root.margin
            topMargin: root.isCompact ? 0 : TallyTheme.space3
        }

        Item {
            id: head

            readonly property bool hasNote: root.isShort && note.x + note.implicitWidth + TallyTheme.space3 <= presets.x

            width: parent.width
            height: presets.height

            TFText {
                id: heading

                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Algorithms")
                font.pixelSize: TallyTheme.sectionSize
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }

            Note {
                id: note

                x: heading.width + TallyTheme.space3
                y: heading.y + heading.baselineOffset - baselineOffset
                visible: head.hasNote
            }

            TFPresetsButton {
                id: presets

                objectName: "presets"
                anchors.right: parent.right
                height: root.isCompact ? TallyTheme.smallControlHeight : TallyTheme.controlHeight
                viewModel: root.viewModel
            }
        }

        Flow {
            width: parent.width
            spacing: TallyTheme.chipSpacing

            Repeater {
                model: root.viewModel.algorithms

                TFAlgorithmChip {
                    required property string modelData

                    objectName: "algorithm " + modelData
                    height: root.isCompact ? TallyTheme.smallControlHeight : TallyTheme.controlHeight
                    algorithm: modelData
                    viewModel: root.viewModel
                }
            }
        }

        Note {
            width: parent.width
            visible: !head.hasNote
            wrapMode: Text.Wrap
        }
    }
}
