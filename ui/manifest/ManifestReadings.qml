import QtQuick
import TallyFold

// What is to be done about what the list, or its verification, has left open.
Column {
    id: root

    required property AppViewModel viewModel
    readonly property ManifestFlow manifest: viewModel.manifest

    topPadding: TallyTheme.space1

    TFReadAs {
        width: parent.width
        visible: root.manifest.isAmbiguousManifest
        algorithms: root.manifest.manifestAlgorithms
        proposed: root.manifest.proposedManifestAlgorithm
        refusal: root.manifest.manifestFileRefusal
        onChosen: name => root.manifest.readManifestAs(name)
    }

    TFButton {
        objectName: "readWithoutQuotes"
        visible: root.manifest.offersReadingWithoutQuotes
        text: qsTr("Read Names Without Quotes")
        onClicked: root.manifest.readManifestWithoutQuotes()
    }

    TFButton {
        objectName: "verifyManifestRest"
        visible: text !== ""
        text: root.manifest.manifestRestVerb
        onClicked: root.manifest.verifyManifestRest()
    }
}
