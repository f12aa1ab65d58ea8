import QtQuick
import TallyFold

// Which checksums are calculated.
TFGlassCard {
    id: root

    required property AppViewModel viewModel
    property bool hasNote: true

    implicitHeight: content.implicitHeight + 2 * TallyTheme.space3

    Column {
        id: content

        spacing: TallyTheme.space2

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            leftMargin: TallyTheme.space4
            rightMargin: TallyTheme.space4
            topMargin: TallyTheme.space3
        }

        Item {
            width: parent.width
            height: TallyTheme.controlHeight

            TFText {
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Algorithms")
                font.pixelSize: TallyTheme.sectionSize
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }

            TFPresetsButton {
                objectName: "presets"
                anchors.right: parent.right
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
                    algorithm: modelData
                    viewModel: root.viewModel
                }
            }
        }

        TFStaticText {
            width: parent.width
            visible: root.hasNote
            text: qsTr("All selected algorithms are calculated in one file pass.")
            color: TallyTheme.tertiary
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize
        }
    }
}
