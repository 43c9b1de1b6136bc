#include "ui/identity/LumivaneIdentityGeometry.h"
#include "ui/identity/LumivaneMark.h"
#include "ui/identity/PaintColor.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace lumivane {

namespace {

/// The elements of an SVG by name, with their attributes.
std::map<QString, QXmlStreamAttributes> elementsOf(const QByteArray& svg) {
    std::map<QString, QXmlStreamAttributes> elements;
    QXmlStreamReader reader(svg);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            elements.emplace(reader.name().toString(), reader.attributes());
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return elements;
}

double numberOf(const QXmlStreamAttributes& attributes, const QString& name) {
    bool isNumber = false;
    const double number = attributes.value(name).toDouble(&isNumber);
    EXPECT_TRUE(isNumber) << name.toStdString();
    return number;
}

QString lightName(const ThemeColor& color) {
    return paintColor(color.resolved(Appearance::light)).name();
}

} // namespace

class ProgramIconTest : public testing::Test {
protected:
    int run(const QStringList& arguments) {
        QProcess process;
        process.start(QStringLiteral(LUMIVANE_PROGRAM_ICON), arguments);
        EXPECT_TRUE(process.waitForFinished());
        errors = process.readAllStandardError();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QByteArray svg() {
        const QString path = folder.filePath(u"icon.svg"_qs);
        EXPECT_EQ(run({path}), 0) << errors.constData();
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QImage png(int edge) {
        const QString path = folder.filePath(u"icon.png"_qs);
        EXPECT_EQ(run({u"--png"_qs, QString::number(edge), path}), 0) << errors.constData();
        return QImage(path, "PNG").convertToFormat(QImage::Format_ARGB32);
    }

    QTemporaryDir folder;
    QByteArray errors;
};

TEST_F(ProgramIconTest, TheRingOfTheSvgIsTheMarksOwnPath) {
    const auto elements = elementsOf(svg());
    const QXmlStreamAttributes path = elements.at(u"path"_qs);
    static const QRegularExpression number(u"-?[0-9.]+(e-?[0-9]+)?"_qs);
    std::vector<double> numbers;
    for (auto matches = number.globalMatch(path.value(u"d"_qs).toString()); matches.hasNext();) {
        numbers.push_back(matches.next().captured().toDouble());
    }
    const QPainterPath ring = LumivaneIdentityGeometry::ringPath(LumivaneMarkCut::standard);
    ASSERT_EQ(numbers.size(), std::size_t(ring.elementCount()) * 2);
    for (int index = 0; index < ring.elementCount(); ++index) {
        EXPECT_NEAR(numbers[std::size_t(index) * 2], ring.elementAt(index).x, 1e-6) << index;
        EXPECT_NEAR(numbers[std::size_t(index) * 2 + 1], ring.elementAt(index).y, 1e-6) << index;
    }
    static const QRegularExpression digits(u"[-0-9. ]"_qs);
    EXPECT_EQ(path.value(u"d"_qs).toString().remove(digits), u"MLCLCLCL"_qs);
}

TEST_F(ProgramIconTest, LinesPupilAndColoursAreTheMarks) {
    const auto elements = elementsOf(svg());
    const QXmlStreamAttributes path = elements.at(u"path"_qs);
    EXPECT_EQ(numberOf(path, u"stroke-width"_qs), LumivaneMonochromeMark::lineWidth);
    EXPECT_EQ(path.value(u"stroke"_qs), lightName(LumivaneTheme::markStem));
    EXPECT_EQ(path.value(u"fill"_qs), u"none"_qs);
    EXPECT_EQ(path.value(u"stroke-linecap"_qs), u"round"_qs);
    const QXmlStreamAttributes circle = elements.at(u"circle"_qs);
    EXPECT_EQ(numberOf(circle, u"cx"_qs), 20);
    EXPECT_EQ(numberOf(circle, u"cy"_qs), 20);
    EXPECT_EQ(numberOf(circle, u"r"_qs) * 2, LumivaneMonochromeMark::pupilDiameter);
    EXPECT_EQ(circle.value(u"fill"_qs), lightName(LumivaneTheme::markPupil));
    EXPECT_EQ(elements.at(u"svg"_qs).value(u"viewBox"_qs), u"0 0 40 40"_qs);
}

TEST_F(ProgramIconTest, ThePictureHasItsTileItsRingAndItsPupil) {
    for (const int edge : {48, 256}) {
        const QImage icon = png(edge);
        ASSERT_EQ(icon.size(), QSize(edge, edge));
        const auto at = [&icon, edge](double x, double y) {
            return icon.pixelColor(int(x * edge / 40), int(y * edge / 40));
        };
        EXPECT_EQ(at(0, 0).alpha(), 0) << edge;
        EXPECT_EQ(at(20, 3), QColor(Qt::white)) << edge;
        EXPECT_EQ(at(20, 20).name(), lightName(LumivaneTheme::markPupil)) << edge;
        // The ring's left side lies 5 units into the mark, which is as large as 0.65 of the tile.
        EXPECT_EQ(at(7 + 5 * 0.65, 20).name(), lightName(LumivaneTheme::markStem)) << edge;
        // Its open corner is the lower right one.
        EXPECT_EQ(at(7 + 34 * 0.65, 7 + 34 * 0.65), QColor(Qt::white)) << edge;
    }
}

TEST_F(ProgramIconTest, TheSameIconComesOutEachTime) {
    EXPECT_EQ(svg(), svg());
    EXPECT_EQ(png(48), png(48));
}

TEST_F(ProgramIconTest, WrongWordsAreRefusedWithoutAFile) {
    const QString path = folder.filePath(u"none"_qs);
    for (const QStringList& arguments :
         {QStringList{}, QStringList{path, path}, QStringList{u"--png"_qs, u"0"_qs, path},
          QStringList{u"--png"_qs, u"2049"_qs, path}, QStringList{u"--png"_qs, u"x"_qs, path},
          QStringList{u"--size"_qs, path}}) {
        EXPECT_EQ(run(arguments), 2) << arguments.join(u' ').toStdString();
    }
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(run({folder.filePath(u"no/such/folder"_qs)}), 1);
    EXPECT_TRUE(errors.contains("cannot write")) << errors.constData();
}

} // namespace lumivane
