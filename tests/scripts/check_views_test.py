import unittest

from tree import TreeTest


class CheckViewsTest(TreeTest):
    def test_each_colour_and_size_of_a_views_own_is_found(self):
        for code in ('color: "#fff"',
                     'color: "#80FF0000"',
                     "color: '#123456'",
                     'color: "red"',
                     'ringColor: "teal"',
                     'color: isOn ? Style.on : "black"',
                     'outline: root.isDefault ? "transparent" : Style.outline',
                     "anything: 'transparent'",
                     "fill: Qt.rgba(1, 1, 1, 0.5)",
                     "fill: Qt.lighter(root.tint)",
                     "font.pixelSize: 12",
                     "font.pointSize: root.small",
                     "font { pointSize: 12 }",
                     "size: 12",
                     "fullSize: 9.5",
                     "font: Qt.font({family: name})"):
            for path in ("src/overlays/qml/Bad.qml", "src/overlays/qml/controls/Bad.qml",
                         "src/ui/identity/qml/Bad.qml"):
                with self.subTest(code, path=path):
                    self.write(path, f"Item {{\n    {code}\n}}\n")
                    self.assert_finds(f"{path}:2: ", "check-views")
                    (self.root / path).unlink()

    def test_what_comes_from_elsewhere_passes(self):
        self.write("src/overlays/qml/Fine.qml",
                   '// color: "red" would be wrong here\n'
                   "Item {\n"
                   "    /* size: 12 */\n"
                   "    color: root.isOn ? Style.on : root.model.foreground\n"
                   "    fill: Style.faded(root.tint, root.hovered ? Style.share : 0)\n"
                   "    size: Style.calloutSize\n"
                   '    symbol: "xmark.circle.fill"\n'
                   '    text: "size"\n'
                   "    maximumLineCount: 1\n"
                   "}\n")
        self.write("tests/overlay_views/Probe.qml", 'Rectangle { color: "red" }\n')
        self.assertIn("1 files, 0 findings", self.assert_passes("check-views"))


if __name__ == "__main__":
    unittest.main()
