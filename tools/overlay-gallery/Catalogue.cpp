#include "Catalogue.h"

#include "SampleTexts.h"
#include "overlays/AccountPanelModel.h"
#include "overlays/NotesStatusModel.h"
#include "overlays/OverlayPlacement.h"
#include "overlays/OverlayViews.h"
#include "overlays/ResultOverlayModel.h"
#include "overlays/WorkingOverlayModel.h"

#include <utility>

namespace lumivane::tools {

namespace {

constexpr OverlayScreen laptop{.displayID = 1, .visibleFrame = {0, 0, 1440, 875}};

/// How a panel comes to be shown as it is.
enum class Copying { alreadyCopied, offered, justCopied };
enum class Countdown { running, none };

struct ResultLook {
    ResultOverlayContent content;
    Copying copying = Copying::alreadyCopied;
    Countdown countdown = Countdown::running;
    std::optional<QString> notesFailure;
    OverlayScreen screen = laptop;
};

/// Collects the specimens of one desktop and transparency under one group.
class Shelf {
public:
    Shelf(std::vector<Specimen>& specimens, QString group, AppSettings settings)
        : m_specimens(specimens)
        , m_group(std::move(group))
        , m_settings(std::move(settings)) {}

    void setReduceTransparency(bool reduceTransparency) {
        m_reduceTransparency = reduceTransparency;
    }

    AppSettings& settings() { return m_settings; }

    void working(const QString& name, bool isSlow) {
        add(name, OverlayPlacement::working(laptop, m_settings),
            [settings = m_settings, isSlow](const ModelPorts&) {
                auto state = std::make_shared<WorkingOverlayState>();
                state->setSlow(isSlow);
                return PanelContent{OverlayViews::working(),
                                    std::make_shared<WorkingOverlayModel>(settings, state)};
            });
    }

    void result(const QString& name, ResultLook look) {
        look.content.settings = m_settings;
        look.content.copiedToClipboard = look.copying == Copying::alreadyCopied;
        const ResultOverlayContent& content = look.content;
        PanelRequest request =
            content.isError ? OverlayPlacement::error(look.screen, m_settings)
                            : OverlayPlacement::result(content.kind, look.screen, m_settings);
        add(name, request, [look](const ModelPorts& ports) { return resultContent(look, ports); });
    }

    void answer(const QString& name, ResultKind kind, const QString& text,
                Copying copying = Copying::alreadyCopied,
                Countdown countdown = Countdown::running) {
        ResultLook look;
        look.copying = copying;
        look.countdown = countdown;
        look.content.kind = kind;
        look.content.text = text;
        result(name, look);
    }

    void error(const QString& name, const QString& text, Copying copying = Copying::offered) {
        ResultLook look;
        look.copying = copying;
        look.content.isError = true;
        look.content.text = text;
        result(name, look);
    }

    void leetCode(const QString& name, const QString& text, std::optional<QString> title,
                  std::optional<LeetCodeAnswerStatus> status,
                  std::optional<QString> notesFailure = std::nullopt,
                  OverlayScreen screen = laptop) {
        ResultLook look;
        look.notesFailure = std::move(notesFailure);
        look.screen = screen;
        look.content.kind = ResultKind::leetCode;
        look.content.text = text;
        look.content.questionTitle = std::move(title);
        look.content.answerStatus = status;
        result(name, look);
    }

    void notesStatus(const QString& name, const QString& message,
                     const OverlayScreen& screen = laptop) {
        add(name, OverlayPlacement::notesStatus(screen), [message](const ModelPorts&) {
            return PanelContent{OverlayViews::notesStatus(),
                                std::make_shared<NotesStatusModel>(message, nullptr)};
        });
    }

    void authenticationRequired(const QString& name) {
        add(name, OverlayPlacement::authenticationRequired(laptop, m_settings),
            [](const ModelPorts&) {
                return PanelContent{OverlayViews::account(),
                                    AccountPanelModel::authenticationRequired(nullptr, nullptr)};
            });
    }

    void deviceEvicted(const QString& name, DeviceEvictedOrigin origin) {
        add(name, OverlayPlacement::deviceEvicted(laptop, m_settings), [origin](const ModelPorts&) {
            return PanelContent{OverlayViews::account(),
                                AccountPanelModel::deviceEvicted(origin, nullptr, nullptr)};
        });
    }

private:
    static PanelContent resultContent(const ResultLook& look, const ModelPorts& ports) {
        constexpr double total = 20;
        constexpr double leetCodeTotal = 180;
        constexpr double shareLeft = 0.65;
        ResultOverlayContent content = look.content;
        const bool isLeetCode = content.kind == ResultKind::leetCode;
        auto state = std::make_shared<ResultOverlayState>();
        state->setNotesFailure(look.notesFailure);
        if (look.countdown == Countdown::running) {
            const double seconds = isLeetCode ? leetCodeTotal : total;
            state->beginCountdown(seconds);
            state->tick(seconds * shareLeft, false);
            content.countdownSeconds = isLeetCode ? std::nullopt : std::optional(seconds);
        }
        auto model = std::make_shared<ResultOverlayModel>(content, state, ports.pasteboard,
                                                          ports.announcer, nullptr, nullptr);
        if (look.copying == Copying::justCopied) {
            model->footer()->copy();
        }
        return {OverlayViews::result(), model};
    }

    void add(const QString& name, const PanelRequest& request,
             std::function<PanelContent(const ModelPorts&)> makeContent) {
        m_specimens.push_back(
            {.name = m_group + u'/' + name,
             .request = request,
             .makeContent = std::move(makeContent),
             .desktop = m_settings.useDarkAppearance ? Appearance::dark : Appearance::light,
             .reduceTransparency = m_reduceTransparency});
    }

    std::vector<Specimen>& m_specimens;
    QString m_group;
    AppSettings m_settings;
    bool m_reduceTransparency = false;
};

AppSettings defaultsOn(Appearance desktop) {
    AppSettings settings = AppSettings::defaults();
    settings.useDarkAppearance = desktop == Appearance::dark;
    return settings;
}

QString nameOf(Appearance desktop) {
    return desktop == Appearance::dark ? u"dark"_qs : u"light"_qs;
}

/// Every panel in every state, in the settings of a new installation.
void addPanels(Shelf& shelf, const QString& ending) {
    using enum LeetCodeAnswerStatus;
    const QString solution = SampleTexts::solution();
    const QString notesFailure = u"The notes folder could not be written."_qs;
    shelf.working(u"working"_qs + ending, false);
    shelf.working(u"working-slow"_qs + ending, true);
    shelf.answer(u"choice"_qs + ending, ResultKind::choice, u"B"_qs);
    shelf.answer(u"answers"_qs + ending, ResultKind::answers, SampleTexts::numberedAnswers());
    shelf.answer(u"text"_qs + ending, ResultKind::text, SampleTexts::summary());
    shelf.answer(u"text-until-dismissed"_qs + ending, ResultKind::text, SampleTexts::summary(),
                 Copying::alreadyCopied, Countdown::none);
    shelf.answer(u"text-offers-copy"_qs + ending, ResultKind::text, SampleTexts::summary(),
                 Copying::offered);
    shelf.answer(u"text-just-copied"_qs + ending, ResultKind::text, SampleTexts::summary(),
                 Copying::justCopied);
    shelf.error(u"error"_qs + ending, SampleTexts::error());
    shelf.error(u"error-just-copied"_qs + ending, SampleTexts::error(), Copying::justCopied);
    shelf.notesStatus(u"notes-status"_qs + ending, notesFailure);
    shelf.authenticationRequired(u"login-required"_qs + ending);
    shelf.deviceEvicted(u"signed-out-before-capture"_qs + ending,
                        DeviceEvictedOrigin::beforeCapture);
    shelf.deviceEvicted(u"signed-out-after-upload"_qs + ending, DeviceEvictedOrigin::afterUpload);
    shelf.leetCode(u"leetcode-checked"_qs + ending, solution, u"146. LRU Cache"_qs,
                   memoryValidated);
    shelf.leetCode(u"leetcode-unvalidated"_qs + ending, solution, std::nullopt, liveUnvalidated,
                   notesFailure);
    shelf.leetCode(u"leetcode-without-status"_qs + ending, u"No title and no status here."_qs,
                   std::nullopt, std::nullopt);
    shelf.settings().dismissWithEscape = false;
    shelf.answer(u"text-without-escape"_qs + ending, ResultKind::text, SampleTexts::summary());
    shelf.leetCode(u"leetcode-without-escape"_qs + ending, solution, u"146. LRU Cache"_qs,
                   liveUnvalidated);
}

void addPanels(std::vector<Specimen>& specimens) {
    for (const Appearance desktop : {Appearance::dark, Appearance::light}) {
        Shelf shelf(specimens, u"panels"_qs, defaultsOn(desktop));
        addPanels(shelf, u'-' + nameOf(desktop));
    }
    for (const Appearance desktop : {Appearance::dark, Appearance::light}) {
        Shelf shelf(specimens, u"solid"_qs, defaultsOn(desktop));
        shelf.setReduceTransparency(true);
        addPanels(shelf, u'-' + nameOf(desktop));
    }
}

/// A text in every kind that can hold it.
void addText(Shelf& shelf, const QString& name, const QString& text) {
    shelf.answer(u"text-"_qs + name, ResultKind::text, text);
    shelf.answer(u"answers-"_qs + name, ResultKind::answers, text, Copying::offered);
    shelf.error(u"error-"_qs + name, text);
    shelf.notesStatus(u"notes-status-"_qs + name, text);
    shelf.leetCode(u"leetcode-"_qs + name, u"## "_qs + text + u"\n\n"_qs + text, text,
                   LeetCodeAnswerStatus::memoryValidated, text);
}

void addForeignTexts(Shelf& shelf) {
    const std::pair<QString, QString> texts[] = {
        {u"empty"_qs, QString()},
        {u"long-word"_qs, SampleTexts::longWord()},
        {u"hebrew"_qs, SampleTexts::hebrew()},
        {u"arabic"_qs, SampleTexts::arabic()},
        {u"chinese"_qs, SampleTexts::chinese()},
        {u"japanese"_qs, SampleTexts::japanese()},
        {u"mixed-directions"_qs, SampleTexts::mixedDirections()},
        {u"emoji"_qs, SampleTexts::emoji()},
        {u"markup"_qs, SampleTexts::markup()},
        {u"white-space"_qs, SampleTexts::oddWhiteSpace()},
        {u"5000-characters"_qs, SampleTexts::errorOfLength(5000)},
    };
    for (const auto& [name, text] : texts) {
        addText(shelf, name, text);
    }
}

void addChoices(Shelf& shelf) {
    const std::pair<QString, QString> choices[] = {
        {u"empty"_qs, QString()},
        {u"letters"_qs, u"A, C, D"_qs},
        {u"20-characters"_qs, u"None of the above, B"_qs},
        {u"20-wide"_qs, QString(20, u'W')},
        {u"sentence"_qs, SampleTexts::summary()},
        {u"two-lines"_qs, u"A\nB"_qs},
        {u"hebrew"_qs, u"ב׳"_qs},
        {u"chinese"_qs, u"乙和丁"_qs},
        {u"emoji"_qs, u"👩🏿‍🚀 3️⃣"_qs},
        {u"descenders"_qs, u"gjpqyÅ"_qs},
    };
    for (const auto& [name, text] : choices) {
        shelf.answer(u"choice-"_qs + name, ResultKind::choice, text, Copying::offered);
    }
}

void addLengths(Shelf& shelf) {
    using enum LeetCodeAnswerStatus;
    constexpr OverlayScreen small{.displayID = 1, .visibleFrame = {0, 0, 640, 455}};
    constexpr OverlayScreen sliver{.displayID = 1, .visibleFrame = {0, 0, 300, 200}};
    const QString solution = SampleTexts::solution();
    shelf.error(u"error-300-characters"_qs, SampleTexts::errorOfLength(300));
    shelf.leetCode(u"leetcode-40000-characters"_qs, SampleTexts::longSolution(40000), std::nullopt,
                   liveUnvalidated);
    shelf.leetCode(u"leetcode-title-300-characters"_qs, solution, SampleTexts::longTitle(300),
                   memoryValidated);
    shelf.leetCode(u"leetcode-long-banner"_qs, solution, u"146. LRU Cache"_qs, memoryValidated,
                   SampleTexts::longNotesMessage());
    shelf.leetCode(u"leetcode-nothing-but-code"_qs, u"```\nint main() {}\n```\n"_qs,
                   u"146. LRU Cache"_qs, memoryValidated);
    shelf.leetCode(u"leetcode-small-display"_qs, solution, SampleTexts::longTitle(300),
                   memoryValidated, SampleTexts::longNotesMessage(), small);
    shelf.leetCode(u"leetcode-sliver"_qs, solution, u"146. LRU Cache"_qs, memoryValidated,
                   u"The notes folder could not be written."_qs, sliver);
    shelf.notesStatus(u"notes-status-long"_qs, SampleTexts::longNotesMessage());
    shelf.notesStatus(u"notes-status-small-display"_qs, SampleTexts::longNotesMessage(), small);
    shelf.notesStatus(u"notes-status-sliver"_qs, SampleTexts::longNotesMessage(), sliver);
    for (const auto& row : tables::overlayTextSize) {
        const QString ending = u'-' + QString::fromUtf8(row.rawValue.data());
        shelf.settings().overlayTextSize = row.value;
        shelf.working(u"working-slow"_qs + ending, true);
        shelf.error(u"error-300-characters"_qs + ending, SampleTexts::errorOfLength(300));
        shelf.leetCode(u"leetcode"_qs + ending, solution, std::nullopt, liveUnvalidated);
    }
}

/// Every background with every text colour, in every size for one kind.
void addStyles(std::vector<Specimen>& specimens, Appearance desktop) {
    Shelf shelf(specimens, u"styles"_qs, defaultsOn(desktop));
    AppSettings& settings = shelf.settings();
    const QString text = u"Permits issued before Monday stay valid."_qs;
    for (const auto& style : tables::overlayBackgroundStyle) {
        for (const auto& color : tables::overlayTextColor) {
            settings.overlayBackground = style.value;
            settings.overlayTextColor = color.value;
            const QString look =
                u"-%1-%2-%3"_qs.arg(QString::fromUtf8(style.rawValue.data()),
                                    QString::fromUtf8(color.rawValue.data()), nameOf(desktop));
            for (const auto& size : tables::overlayTextSize) {
                settings.overlayTextSize = size.value;
                const bool isMiddle = size.value == OverlayTextSize::medium;
                shelf.answer(u"text"_qs + look + u'-' + QString::fromUtf8(size.rawValue.data()),
                             ResultKind::text, text,
                             isMiddle ? Copying::offered : Copying::alreadyCopied);
            }
            settings.overlayTextSize = OverlayTextSize::medium;
            shelf.working(u"working"_qs + look, false);
        }
    }
}

void addTexts(std::vector<Specimen>& specimens) {
    Shelf shelf(specimens, u"texts"_qs, defaultsOn(Appearance::dark));
    addForeignTexts(shelf);
    addChoices(shelf);
    addLengths(shelf);
}

} // namespace

std::vector<Specimen> catalogue() {
    std::vector<Specimen> specimens;
    addPanels(specimens);
    addTexts(specimens);
    addStyles(specimens, Appearance::dark);
    addStyles(specimens, Appearance::light);
    return specimens;
}

} // namespace lumivane::tools
