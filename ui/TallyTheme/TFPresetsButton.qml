import QtQuick
import TallyFold

// The usual selections of algorithms.
TFButton {
    id: presets

    required property AppViewModel viewModel

    text: qsTr("Presets")
    icon: "slider.horizontal.3"
    opensMenu: true
    refusal: viewModel.selectionRefusal
    onClicked: menu.popup(presets, presets.width - menu.width, presets.height + TallyTheme.space1)

    TFMenu {
        id: menu

        TFMenuItem {
            objectName: "presetRecommended"
            text: qsTr("Recommended — BLAKE3 + SHA-256")
            onTriggered: presets.viewModel.choosePreset(AppViewModel.Recommended)
        }

        TFMenuItem {
            objectName: "presetCompatibility"
            text: qsTr("Compatibility — MD5 + SHA-1 + SHA-256")
            onTriggered: presets.viewModel.choosePreset(AppViewModel.Compatibility)
        }

        TFMenuItem {
            objectName: "presetAll"
            text: qsTr("All algorithms")
            onTriggered: presets.viewModel.choosePreset(AppViewModel.AllAlgorithms)
        }
    }
}
