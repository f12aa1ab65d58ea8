import QtQuick
import TallyFold

// A button for each algorithm that a checksum or a list may be of.
Flow {
    id: root

    property var algorithms: []
    property string proposed
    property string refusal

    signal chosen(string name)

    spacing: TallyTheme.space2

    Repeater {
        model: root.algorithms

        TFButton {
            required property string modelData

            objectName: "read as " + modelData
            text: qsTr("Read as %1").arg(modelData)
            isProminent: modelData === root.proposed
            refusal: root.refusal
            onClicked: root.chosen(modelData)
        }
    }
}
