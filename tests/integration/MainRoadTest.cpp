// The whole program on an X server with two monitors, against a service that records.

#include "domain/StrictJson.h"
#include "support/EventLoop.h"
#include "support/SignedInHome.h"

#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace lumivane::test {

class MainRoadTest : public testing::Test {
protected:
    MainRoadTest() {
        display.addMonitor(u"L"_qs, leftMonitor);
        display.addMonitor(u"R"_qs, rightMonitor);
        display.startWindowManager();
        movePointer(leftMonitor.center());
        settings.configured = true;
        settings.keepUntilDismissed = true;
        service.always("/healthz", ScriptedAnswer::json(200, R"({"status":"ok","version":"1"})"));
        service.always("/v1/analyze",
                       ScriptedAnswer::json(200, R"({"request_id":"r-1","result":"canary-answer",)"
                                                 R"("result_kind":"text"})"));
    }

    void start() {
        home.store(settings);
        program = std::make_unique<LumivaneProgram>(home);
        program->requireLog("Service health check completed; healthy=1");
        program->requireLog("Looked for a session; signedIn=1");
    }

    void movePointer(const QPoint& position) {
        display.run(u"xdotool"_qs, {u"mousemove"_qs, QString::number(position.x()),
                                    QString::number(position.y())});
    }

    /// The next request for an analysis, in its order of arrival.
    RecordedRequest waitForRequest(std::size_t index = 0) {
        const bool came =
            waitUntil([this, index] { return service.requestsFor("/v1/analyze").size() > index; },
                      std::chrono::seconds(60));
        if (!came) {
            throw std::runtime_error("no request came: " + program->log().toStdString());
        }
        return service.requestsFor("/v1/analyze").at(index);
    }

    /// The areas of the program's windows on screen. They come and go while they are asked for.
    std::vector<QRect> panels() {
        std::vector<QRect> areas;
        const QByteArray windows =
            lenient(u"xdotool search --onlyvisible --pid %1"_qs.arg(program->processID()));
        for (const QByteArray& window : windows.split('\n')) {
            const QRect area = parseGeometry(
                window.isEmpty() ? QByteArray()
                                 : lenient(u"xdotool getwindowgeometry --shell "_qs + window));
            if (!area.isEmpty()) {
                areas.push_back(area);
            }
        }
        return areas;
    }

    /// What a command prints, whether it finds what it looks for or not.
    QByteArray lenient(const QString& command) const {
        return display.run(u"sh"_qs, {u"-c"_qs, command + u" || true"_qs});
    }

    static QRect parseGeometry(const QByteArray& geometry) {
        std::map<QByteArray, int> values;
        for (const QByteArray& line : geometry.split('\n')) {
            const QList<QByteArray> parts = line.split('=');
            if (parts.size() == 2) {
                values[parts[0]] = parts[1].toInt();
            }
        }
        return {values["X"], values["Y"], values["WIDTH"], values["HEIGHT"]};
    }

    static std::vector<std::string> keysOf(const Json& object) {
        std::vector<std::string> keys;
        for (const auto& item : object.items()) {
            keys.push_back(item.key());
        }
        return keys;
    }

    void expectNoCanaryInTheLog() const {
        EXPECT_FALSE(program->log().contains("canary")) << program->log().toStdString();
    }

    const QRect leftMonitor{0, 0, 960, 1080};
    const QRect rightMonitor{960, 0, 960, 1080};
    XServer display{QSize(1920, 1080)};
    SignedInHome user{display};
    ScriptedHttpServer& service = user.service();
    AppSettings settings;
    LumivaneHome& home = user.home();
    std::unique_ptr<LumivaneProgram> program;
};

TEST_F(MainRoadTest, AHotCornerSendsTheWordsOfItsDisplayAndDeliversTheAnswer) {
    settings.preset = Preset::custom;
    settings.customPrompt = u"canary-prompt"_qs;
    settings.dwellSeconds = 0;
    start();
    const DocumentWindow left(home, u"<h2>The other monitor speaks of walruses.</h2>"_qs,
                              leftMonitor);
    const DocumentWindow right(
        home,
        u"<p style='font-size:16pt'>Canaryscreen is the word of this "
        u"document.<br>The next line tells that the ferry leaves at noon.</p>"_qs,
        rightMonitor);
    movePointer({1919, 1079});
    const RecordedRequest request = waitForRequest();

    EXPECT_EQ(request.line, "POST /v1/analyze HTTP/1.1");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("Authorization"), "Bearer canary-access-1");
    EXPECT_FALSE(request.header("Cookie"));
    const Json body = parseJson(request.body);
    EXPECT_EQ(keysOf(body), (std::vector<std::string>{"screen_text", "preset", "custom_prompt",
                                                      "client_version", "client_metrics"}));
    EXPECT_EQ(body["preset"], "custom");
    EXPECT_EQ(body["custom_prompt"], "canary-prompt");
    EXPECT_EQ(body["client_version"], "0.3.0");
    EXPECT_EQ(keysOf(body["client_metrics"]),
              (std::vector<std::string>{"capture_ms", "ocr_ms", "encode_ms", "client_ms"}));
    const auto text = QString::fromStdString(body["screen_text"].get<std::string>());
    EXPECT_TRUE(text.contains(u"Canaryscreen is the word of this document."_qs))
        << text.toStdString();
    EXPECT_FALSE(text.contains(u"walruses"_qs)) << "the frame shows another display";

    ASSERT_TRUE(program->waitForLog("Analysis completed"));
    ASSERT_TRUE(waitUntil([this] { return !panels().empty(); }));
    for (const QRect& panel : panels()) {
        EXPECT_TRUE(rightMonitor.contains(panel)) << "the panel stands on another display";
    }
    EXPECT_EQ(display.run(u"xclip"_qs, {u"-selection"_qs, u"clipboard"_qs, u"-out"_qs}),
              "canary-answer");
    EXPECT_TRUE(display
                    .run(u"xclip"_qs, {u"-selection"_qs, u"clipboard"_qs, u"-out"_qs, u"-target"_qs,
                                       u"TARGETS"_qs})
                    .contains("org.nspasteboard.TransientType"));

    // Staying gives no second run; leaving and coming back, seen by the poll, gives one.
    EXPECT_EQ(service.requestsFor("/v1/analyze").size(), 1U);
    EXPECT_TRUE(waitUntil([this] {
        movePointer(rightMonitor.center());
        movePointer({1919, 1079});
        return service.requestsFor("/v1/analyze").size() > 1;
    }));
    EXPECT_EQ(program->terminate(), 0);
    EXPECT_FALSE(program->log().toLower().contains("canary")) << program->log().toStdString();
}

TEST_F(MainRoadTest, AShortcutSendsTheFrameWithoutOurOwnPanels) {
    settings.activationMode = ActivationMode::hotkey;
    settings.analysisMode = AnalysisMode::hyperAccurate;
    start();
    const DocumentWindow document(home, u"<body bgcolor='#30a060'></body>"_qs, leftMonitor);
    for (std::size_t turn = 0; turn < 2; ++turn) {
        // In the second turn the panel of the first is up when the key is pressed.
        display.run(u"xdotool"_qs, {u"key"_qs, u"super+alt+e"_qs});
        const RecordedRequest request = waitForRequest(turn);
        const Json body = parseJson(request.body);
        EXPECT_EQ(keysOf(body), (std::vector<std::string>{"image_data_url", "preset",
                                                          "client_version", "client_metrics"}));
        EXPECT_EQ(body["preset"], "summary");
        EXPECT_EQ(body["client_metrics"]["image_pixel_width"], 910);
        EXPECT_EQ(body["client_metrics"]["image_pixel_height"], 1024);
        const std::string url = body["image_data_url"];
        const std::string prefix = "data:image/jpeg;base64,";
        ASSERT_TRUE(url.starts_with(prefix));
        const auto jpeg =
            QByteArray::fromBase64(QByteArray::fromStdString(url.substr(prefix.size())));
        const QImage frame = QImage::fromData(jpeg, "JPEG").convertToFormat(QImage::Format_RGB32);
        ASSERT_EQ(frame.size(), QSize(910, 1024));
        int foreignPixels = 0;
        for (int y = 0; y < frame.height(); ++y) {
            for (int x = 0; x < frame.width(); ++x) {
                const QColor color = frame.pixelColor(x, y);
                foreignPixels += std::abs(color.red() - 0x30) > 12 ||
                                 std::abs(color.green() - 0xa0) > 12 ||
                                 std::abs(color.blue() - 0x60) > 12;
            }
        }
        EXPECT_EQ(foreignPixels, 0) << "a panel or the pointer is in the frame";
        ASSERT_TRUE(waitUntil([this] { return !panels().empty(); }));
    }
    EXPECT_EQ(program->terminate(), 0);
    expectNoCanaryInTheLog();
}

} // namespace lumivane::test
