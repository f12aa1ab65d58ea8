import QtQuick
import TallyFold

// Which checksums are calculated.
TFGlassCard {
    id: root

    required property AppViewModel viewModel
    property bool hasNote: true
    readonly property string refusal: viewModel.isProcessing ? qsTr("The selection cannot change during a run.") : ""

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

            TFButton {
                id: presets

                objectName: "presets"
                anchors.right: parent.right
                text: qsTr("Presets")
                icon: "slider.horizontal.3"
                opensMenu: true
                refusal: root.refusal
                onClicked: menu.popup(presets, presets.width - menu.width, presets.height + TallyTheme.space1)
            }
        }

        Flow {
            width: parent.width
            spacing: TallyTheme.space1 + 2

            Repeater {
                model: root.viewModel.algorithms

                TFChip {
                    required property string modelData

                    objectName: "algorithm " + modelData
                    text: modelData
                    refusal: root.refusal
                    checked: root.viewModel.selectedAlgorithms.includes(modelData)
                    onToggled: isOn => root.viewModel.setAlgorithmSelected(modelData, isOn)
                }
            }
        }

        TFText {
            width: parent.width
            visible: root.hasNote
            text: qsTr("All selected algorithms are calculated in one file pass.")
            color: TallyTheme.tertiary
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    TFMenu {
        id: menu

        TFMenuItem {
            objectName: "presetRecommended"
            text: qsTr("Recommended — BLAKE3 + SHA-256")
            onTriggered: root.viewModel.choosePreset(AppViewModel.Recommended)
        }

        TFMenuItem {
            objectName: "presetCompatibility"
            text: qsTr("Compatibility — MD5 + SHA-1 + SHA-256")
            onTriggered: root.viewModel.choosePreset(AppViewModel.Compatibility)
        }

        TFMenuItem {
            objectName: "presetAll"
            text: qsTr("All algorithms")
            onTriggered: root.viewModel.choosePreset(AppViewModel.AllAlgorithms)
        }
    }
}
