import QtQuick
import TallyFold

// A button for each algorithm that the list may be of, and one for other offers of how to read it.
Flow {
    id: root

    required property AppViewModel viewModel
    readonly property ManifestFlow manifest: viewModel.manifest

    spacing: TallyTheme.space2
    topPadding: TallyTheme.space1

    Repeater {
        model: root.manifest.isAmbiguousManifest ? root.manifest.manifestAlgorithms : []

        TFButton {
            required property string modelData

            objectName: "read as " + modelData
            text: qsTr("Read as %1").arg(modelData)
            isProminent: modelData === root.manifest.proposedManifestAlgorithm
            refusal: root.manifest.manifestFileRefusal
            onClicked: root.manifest.readManifestAs(modelData)
        }
    }

    TFButton {
        objectName: "readWithoutQuotes"
        visible: root.manifest.offersReadingWithoutQuotes
        text: qsTr("Read Names Without Quotes")
        onClicked: root.manifest.readManifestWithoutQuotes()
    }
}
