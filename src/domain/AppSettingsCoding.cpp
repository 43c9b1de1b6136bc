#include "domain/AppSettingsCoding.h"

#include <type_traits>

namespace lumivane {

namespace {

// One list of fields per record serves both directions, so that they cannot drift apart.

template <typename Record, typename Visitor>
void visitHotKey(Record& hotKey, const Visitor& visit) {
    visit("command", hotKey.command);
    visit("option", hotKey.option);
    visit("control", hotKey.control);
    visit("shift", hotKey.shift);
    visit("key", hotKey.key);
}

template <typename Record, typename Visitor>
void visitSettings(Record& settings, const Visitor& visit) {
    visit("configured", settings.configured);
    visit("paused", settings.paused);
    visit("activationMode", settings.activationMode);
    visit("corner", settings.corner);
    visit("hotKey", settings.hotKey);
    visit("preset", settings.preset);
    visit("customPrompt", settings.customPrompt);
    visit("launchAtLogin", settings.launchAtLogin);
    visit("showInMenuBar", settings.showInMenuBar);
    visit("useDarkAppearance", settings.useDarkAppearance);
    visit("showProcessingOverlay", settings.showProcessingOverlay);
    visit("cornerSize", settings.cornerSize);
    visit("dwellSeconds", settings.dwellSeconds);
    visit("pollSeconds", settings.pollSeconds);
    visit("requestTimeoutSeconds", settings.requestTimeoutSeconds);
    visit("deliveryMode", settings.deliveryMode);
    visit("overlayPosition", settings.overlayPosition);
    visit("resultSeconds", settings.resultSeconds);
    visit("keepUntilDismissed", settings.keepUntilDismissed);
    visit("extendOnHover", settings.extendOnHover);
    visit("overlayBackground", settings.overlayBackground);
    visit("backgroundOpacity", settings.backgroundOpacity);
    visit("overlayTextColor", settings.overlayTextColor);
    visit("overlayTextSize", settings.overlayTextSize);
    visit("dismissWithEscape", settings.dismissWithEscape);
    visit("soundWhenReady", settings.soundWhenReady);
    visit("includePromptWhenCopying", settings.includePromptWhenCopying);
    visit("notifyOnCopy", settings.notifyOnCopy);
    visit("streamText", settings.streamText);
    visit("analysisMode", settings.analysisMode);
    visit("saveLeetCodeNotes", settings.saveLeetCodeNotes);
}

auto reading(const JsonObjectReader& reader) {
    return [&reader](std::string_view key, auto& field) {
        field = reader.required<std::remove_reference_t<decltype(field)>>(key);
    };
}

auto writing(JsonObjectWriter& writer) {
    return [&writer](std::string_view key, const auto& field) { writer.write(key, field); };
}

} // namespace

HotKey JsonCoding<HotKey>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    HotKey hotKey;
    visitHotKey(hotKey, reading(reader));
    return hotKey;
}

Json JsonCoding<HotKey>::encode(const HotKey& hotKey) {
    JsonObjectWriter writer;
    visitHotKey(hotKey, writing(writer));
    return writer.take();
}

AppSettings JsonCoding<AppSettings>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    AppSettings settings;
    visitSettings(settings, reading(reader));
    return settings;
}

Json JsonCoding<AppSettings>::encode(const AppSettings& settings) {
    JsonObjectWriter writer;
    visitSettings(settings, writing(writer));
    return writer.take();
}

} // namespace lumivane
