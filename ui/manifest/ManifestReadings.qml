import QtQuick
import TallyFold

// What is to be done about what the list, or its verification, has left open.
Column {
    id: root

    required property AppViewModel viewModel
    readonly property ManifestFlow manifest: viewModel.manifest

    readonly property proposedFolder folder: manifest.offeredManifestRoot

    topPadding: TallyTheme.space1
    spacing: TallyTheme.space1

    TFReadAs {
        width: parent.width
        visible: root.manifest.isAmbiguousManifest
        algorithms: root.manifest.manifestAlgorithms
        proposed: root.manifest.proposedManifestAlgorithm
        refusal: root.manifest.manifestFileRefusal
        onChosen: name => root.manifest.readManifestAs(name)
    }

    Item {
        width: parent.width
        height: useFolder.height
        visible: root.folder.isPresent

        TFButton {
            id: useFolder

            objectName: "manifestRootProposal"
            text: qsTr("Use “%1”").arg("\u2068" + folderName.elidedText + "\u2069")
            accessibleName: qsTr("Use %1").arg(root.folder.path)
            isProminent: !root.manifest.manifestRoot.isPresent
            refusal: root.manifest.manifestRootRefusal
            onClicked: root.manifest.useProposedManifestRoot()
        }

        TFNameText {
            anchors.left: useFolder.right
            anchors.leftMargin: TallyTheme.space3
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: root.folder.path
            color: TallyTheme.secondary
            font.pixelSize: TallyTheme.captionSize
        }

        TextMetrics {
            id: folderName

            text: root.folder.name
            elide: Text.ElideMiddle
            elideWidth: root.width / 2
            font.pixelSize: TallyTheme.bodySize
        }
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
