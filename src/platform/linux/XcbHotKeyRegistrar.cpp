#include "platform/linux/XcbHotKeyRegistrar.h"

#include "platform/linux/XcbKeyboardMap.h"

#include <QMetaObject>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

/// One grab of the server: a key and the exact state of all modifiers.
struct Grab {
    xcb_keycode_t keycode = 0;
    std::uint16_t modifiers = 0;

    bool operator==(const Grab&) const = default;
};

struct InstalledHandler {
    std::uint32_t signature = 0;
    HotKeyRegistrar::Handler handler;
    bool isInstalled = true;
};

struct RegisteredHotKey {
    xcb_keysym_t keysym = XCB_NO_SYMBOL;
    std::uint32_t modifiers = 0;
    HotKeyIdentifier identifier;
    std::vector<Grab> grabs; ///< empty while a changed keyboard leaves it no free key

    bool holds(const Grab& grab) const {
        return std::find(grabs.begin(), grabs.end(), grab) != grabs.end();
    }
};

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

/// Runs `release` when it goes.
class ReleasingRegistration final : public HotKeyRegistration {
public:
    explicit ReleasingRegistration(std::function<void()> release)
        : m_release(std::move(release)) {}

    ~ReleasingRegistration() override { m_release(); }

    ReleasingRegistration(const ReleasingRegistration&) = delete;
    ReleasingRegistration& operator=(const ReleasingRegistration&) = delete;

private:
    std::function<void()> m_release;
};

} // namespace

/// The registrar's state. Shared, since a handler may destroy the registrar that is calling it, and
/// registrations may outlive it.
class XcbHotKeyRegistrar::Core : public std::enable_shared_from_this<Core> {
public:
    void open(const QByteArray& displayName);
    void close();
    Result install(std::uint32_t signature, Handler handler);
    Result add(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyIdentifier identifier);

private:
    bool serverAnswers();
    std::int32_t grab(RegisteredHotKey& hotKey);
    void release(RegisteredHotKey& hotKey);
    void release(const std::vector<Grab>& grabs);
    std::vector<Grab> grabsFor(const RegisteredHotKey& hotKey) const;
    bool isTaken(const Grab& grab) const;
    bool followKeyboard();
    void drainLater();
    void drain();
    void handle(const xcb_generic_event_t& event);
    void handlePress(const xcb_key_press_event_t& press);
    void deliver(HotKeyIdentifier identifier);

    std::unique_ptr<xcb_connection_t, Disconnect> m_connection; ///< absent once the server is lost
    xcb_window_t m_root = XCB_NONE;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::optional<XcbKeyboardMap> m_keyboard;
    bool m_keyboardHasChanged = false;
    std::array<xcb_timestamp_t, 256> m_releasedAt{}; ///< by keycode
    std::vector<std::shared_ptr<InstalledHandler>> m_handlers;
    std::vector<std::shared_ptr<RegisteredHotKey>> m_hotKeys;
};

void XcbHotKeyRegistrar::Core::open(const QByteArray& displayName) {
    int screenNumber = 0;
    m_connection.reset(
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber));
    if (xcb_connection_has_error(m_connection.get()) == 0) {
        m_keyboard = XcbKeyboardMap::read(m_connection.get());
    }
    if (!m_keyboard) {
        close();
        return;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
        xcb_screen_next(&screens);
    }
    m_root = screens.data->root;
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection.get()),
                                                   QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [weak = weak_from_this()] {
                         if (const auto core = weak.lock()) {
                             core->drain();
                         }
                     });
    drainLater();
}

void XcbHotKeyRegistrar::Core::close() {
    m_notifier.reset();
    m_connection.reset();
}

HotKeyRegistrar::Result XcbHotKeyRegistrar::Core::install(std::uint32_t signature,
                                                          Handler handler) {
    if (!serverAnswers()) {
        return {serverLost, nullptr};
    }
    auto installed = std::make_shared<InstalledHandler>();
    installed->signature = signature;
    installed->handler = std::move(handler);
    m_handlers.push_back(installed);
    return {0, std::make_unique<ReleasingRegistration>([weak = weak_from_this(), installed] {
                installed->isInstalled = false;
                if (const auto core = weak.lock()) {
                    std::erase(core->m_handlers, installed);
                }
            })};
}

HotKeyRegistrar::Result XcbHotKeyRegistrar::Core::add(std::uint32_t keyCode,
                                                      std::uint32_t modifiers,
                                                      HotKeyIdentifier identifier) {
    if (!m_connection) {
        return {serverLost, nullptr};
    }
    const auto keysym = keysymForKeyCode(keyCode);
    if (!keysym) {
        return {noSuchKey, nullptr};
    }
    const auto hotKey = std::make_shared<RegisteredHotKey>();
    hotKey->keysym = *keysym;
    hotKey->modifiers = modifiers;
    hotKey->identifier = identifier;
    if (const std::int32_t status = grab(*hotKey); status != 0) {
        return {status, nullptr};
    }
    m_hotKeys.push_back(hotKey);
    return {0, std::make_unique<ReleasingRegistration>([weak = weak_from_this(), hotKey] {
                if (const auto core = weak.lock()) {
                    std::erase(core->m_hotKeys, hotKey);
                    core->release(*hotKey);
                }
            })};
}

/// A server that has gone shows only when it is asked something.
bool XcbHotKeyRegistrar::Core::serverAnswers() {
    if (!m_connection) {
        return false;
    }
    auto* answer = xcb_get_input_focus_reply(m_connection.get(),
                                             xcb_get_input_focus(m_connection.get()), nullptr);
    const bool hasAnswered = answer != nullptr;
    std::free(answer);
    drainLater();
    return hasAnswered;
}

std::int32_t XcbHotKeyRegistrar::Core::grab(RegisteredHotKey& hotKey) {
    std::vector<Grab> grabs = grabsFor(hotKey);
    if (grabs.empty()) {
        return noSuchKey;
    }
    // The server lets one client grab a combination twice, and one release would then end both.
    if (std::any_of(grabs.begin(), grabs.end(), [this](const Grab& g) { return isTaken(g); })) {
        return accessDenied;
    }
    std::vector<xcb_void_cookie_t> cookies;
    cookies.reserve(grabs.size());
    for (const Grab& wanted : grabs) {
        cookies.push_back(xcb_grab_key_checked(m_connection.get(), 0, m_root, wanted.modifiers,
                                               wanted.keycode, XCB_GRAB_MODE_ASYNC,
                                               XCB_GRAB_MODE_ASYNC));
    }
    std::int32_t status = 0;
    for (const xcb_void_cookie_t cookie : cookies) {
        if (auto* error = xcb_request_check(m_connection.get(), cookie)) {
            status = status == 0 ? error->error_code : status;
            std::free(error);
        }
    }
    if (xcb_connection_has_error(m_connection.get()) != 0) {
        status = serverLost;
    }
    if (status == 0) {
        hotKey.grabs = std::move(grabs);
    } else {
        release(grabs); // those of others are not ours to release, so the server leaves them alone
    }
    drainLater();
    return status;
}

void XcbHotKeyRegistrar::Core::release(RegisteredHotKey& hotKey) {
    release(std::exchange(hotKey.grabs, {}));
}

void XcbHotKeyRegistrar::Core::release(const std::vector<Grab>& grabs) {
    if (!m_connection) {
        return;
    }
    for (const Grab& held : grabs) {
        xcb_ungrab_key(m_connection.get(), held.keycode, m_root, held.modifiers);
    }
    // After the round trip the combination is free for every other client.
    serverAnswers();
}

std::vector<Grab> XcbHotKeyRegistrar::Core::grabsFor(const RegisteredHotKey& hotKey) const {
    std::vector<Grab> grabs;
    const std::uint16_t modifiers = m_keyboard->nativeModifiers(hotKey.modifiers);
    for (const xcb_keycode_t keycode : m_keyboard->keycodesFor(hotKey.keysym)) {
        for (const std::uint16_t locks : m_keyboard->lockCombinations()) {
            grabs.push_back({keycode, static_cast<std::uint16_t>(modifiers | locks)});
        }
    }
    return grabs;
}

bool XcbHotKeyRegistrar::Core::isTaken(const Grab& grab) const {
    return std::any_of(m_hotKeys.begin(), m_hotKeys.end(),
                       [&grab](const auto& hotKey) { return hotKey->holds(grab); });
}

/// Moves the grabs to where a changed keyboard has the keys now. True when the server was asked, so
/// that more events may have come in.
bool XcbHotKeyRegistrar::Core::followKeyboard() {
    if (!m_connection || !std::exchange(m_keyboardHasChanged, false)) {
        return false;
    }
    auto keyboard = XcbKeyboardMap::read(m_connection.get());
    if (!keyboard) {
        return false;
    }
    m_keyboard = std::move(keyboard);
    // Only what moves is released, and all of that before anything is grabbed: keys may have
    // swapped places, and a grab that stays does not miss a press meanwhile.
    std::vector<std::shared_ptr<RegisteredHotKey>> moving;
    for (const auto& hotKey : m_hotKeys) {
        if (hotKey->grabs.empty() || hotKey->grabs != grabsFor(*hotKey)) {
            release(*hotKey);
            moving.push_back(hotKey);
        }
    }
    for (const auto& hotKey : moving) {
        grab(*hotKey); // a refusal leaves it without a key until the keyboard changes again
    }
    return true;
}

/// Answers to requests bring events along, which leave the socket silent.
void XcbHotKeyRegistrar::Core::drainLater() {
    QMetaObject::invokeMethod(
        m_notifier.get(),
        [weak = weak_from_this()] {
            if (const auto core = weak.lock()) {
                core->drain();
            }
        },
        Qt::QueuedConnection);
}

void XcbHotKeyRegistrar::Core::drain() {
    const auto self = shared_from_this();
    do {
        while (m_connection) {
            auto* event = xcb_poll_for_event(m_connection.get());
            if (event == nullptr) {
                break;
            }
            const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> owner(event,
                                                                                   &std::free);
            handle(*event);
        }
    } while (followKeyboard());
    if (m_connection && xcb_connection_has_error(m_connection.get()) != 0) {
        close();
    }
}

void XcbHotKeyRegistrar::Core::handle(const xcb_generic_event_t& event) {
    // Events that another client made up carry a flag in their type and match no case.
    switch (event.response_type) {
    case XCB_KEY_PRESS:
        handlePress(reinterpret_cast<const xcb_key_press_event_t&>(event));
        break;
    case XCB_KEY_RELEASE: {
        const auto& release = reinterpret_cast<const xcb_key_release_event_t&>(event);
        m_releasedAt.at(release.detail) = release.time;
        break;
    }
    case XCB_MAPPING_NOTIFY:
        m_keyboardHasChanged = m_keyboardHasChanged ||
                               reinterpret_cast<const xcb_mapping_notify_event_t&>(event).request !=
                                   XCB_MAPPING_POINTER;
        break;
    default:
        break;
    }
}

void XcbHotKeyRegistrar::Core::handlePress(const xcb_key_press_event_t& press) {
    // A held key comes as a release and a press of one time.
    if (press.time == m_releasedAt.at(press.detail)) {
        return;
    }
    constexpr std::uint16_t allModifiers = 0xFF;
    const Grab pressed{press.detail, static_cast<std::uint16_t>(press.state & allModifiers)};
    const auto hotKey =
        std::find_if(m_hotKeys.begin(), m_hotKeys.end(),
                     [&pressed](const auto& candidate) { return candidate->holds(pressed); });
    if (hotKey != m_hotKeys.end()) {
        deliver((*hotKey)->identifier);
    }
}

void XcbHotKeyRegistrar::Core::deliver(HotKeyIdentifier identifier) {
    // From a copy of the list: handlers install and remove handlers.
    const auto handlers = m_handlers;
    for (const auto& installed : handlers) {
        if (installed->isInstalled && installed->signature == identifier.signature) {
            installed->handler(identifier);
        }
    }
}

XcbHotKeyRegistrar::XcbHotKeyRegistrar(const QByteArray& displayName)
    : m_core(std::make_shared<Core>()) {
    m_core->open(displayName);
}

XcbHotKeyRegistrar::~XcbHotKeyRegistrar() { m_core->close(); }

HotKeyRegistrar::Result XcbHotKeyRegistrar::installHandler(std::uint32_t signature,
                                                           Handler handler) {
    return m_core->install(signature, std::move(handler));
}

HotKeyRegistrar::Result XcbHotKeyRegistrar::registerHotKey(std::uint32_t keyCode,
                                                           std::uint32_t modifiers,
                                                           HotKeyIdentifier identifier) {
    return m_core->add(keyCode, modifiers, identifier);
}

} // namespace lumivane
