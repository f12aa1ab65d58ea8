import QtQuick
import TallyFold

// Whether one algorithm is calculated.
TFChip {
    required property AppViewModel viewModel
    required property string algorithm
    readonly property var selection: viewModel.selectedAlgorithms

    text: algorithm
    refusal: viewModel.selectionRefusal
    checked: selection.includes(algorithm)
    onToggled: isOn => viewModel.setAlgorithmSelected(algorithm, isOn)
}
