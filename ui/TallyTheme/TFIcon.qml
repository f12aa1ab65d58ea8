import QtQuick
import QtQuick.Window
import TallyFold

Image {
    property string name
    property color color: TallyTheme.secondary
    property int size: TallyTheme.iconSize

    width: size
    height: size
    sourceSize.width: size * Screen.devicePixelRatio
    sourceSize.height: size * Screen.devicePixelRatio
    source: name === "" ? "" : "image://icons/" + name + "/" + argb(color)
    Accessible.ignored: true

    function argb(color: color): string {
        const hex = part => Math.round(part * 255).toString(16).padStart(2, "0");
        return hex(color.a) + hex(color.r) + hex(color.g) + hex(color.b);
    }
}
