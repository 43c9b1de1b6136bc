#include "platform/KeyboardDisplay.h"

#include <sys/prctl.h>
#include <xcb/xtest.h>

#include <csignal>
#include <cstdlib>

namespace lumivane::test {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds moment{2};

template <typename Answer>
auto owned(Answer* answer) {
    return std::unique_ptr<Answer, decltype(&std::free)>(answer, &std::free);
}

} // namespace

KeyboardDisplay::KeyboardDisplay()
    : m_connection(nullptr, &xcb_disconnect) {
    // The server goes with this process, even when a time limit ends it.
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    // Held keys repeat quickly, so that a test of them is short.
    m_server.start(u"Xvfb"_qs, {u"-displayfd"_qs, u"1"_qs, u"-screen"_qs, u"0"_qs, u"320x240x24"_qs,
                                u"-nolisten"_qs, u"tcp"_qs, u"-noreset"_qs, u"-ardelay"_qs,
                                u"50"_qs, u"-arinterval"_qs, u"15"_qs});
    while (!m_server.canReadLine() && m_server.waitForReadyRead(30000)) {
    }
    const QByteArray number = m_server.readLine().trimmed();
    if (number.isEmpty()) {
        return;
    }
    m_name = ':' + number;
    m_connection.reset(xcb_connect(m_name.constData(), nullptr));
}

KeyboardDisplay::~KeyboardDisplay() {
    m_connection.reset();
    kill();
}

void KeyboardDisplay::kill() {
    m_server.kill();
    m_server.waitForFinished();
}

xcb_window_t KeyboardDisplay::root() const {
    return xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
}

xcb_keycode_t KeyboardDisplay::keycodeOf(xcb_keysym_t keysym) const {
    const xcb_setup_t* setup = xcb_get_setup(m_connection.get());
    const std::size_t count = setup->max_keycode - setup->min_keycode + 1U;
    const auto mapping = owned(xcb_get_keyboard_mapping_reply(
        m_connection.get(),
        xcb_get_keyboard_mapping(m_connection.get(), setup->min_keycode,
                                 static_cast<std::uint8_t>(count)),
        nullptr));
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
    for (std::size_t key = 0; key < count; ++key) {
        if (keysyms[key * mapping->keysyms_per_keycode] == keysym) {
            return static_cast<xcb_keycode_t>(setup->min_keycode + key);
        }
    }
    return 0;
}

xcb_keycode_t KeyboardDisplay::unusedKeycode() const { return keycodeOf(XCB_NO_SYMBOL); }

void KeyboardDisplay::fake(std::uint8_t type, xcb_keycode_t keycode, milliseconds delay) {
    xcb_test_fake_input(m_connection.get(), type, keycode,
                        static_cast<std::uint32_t>(delay.count()), XCB_NONE, 0, 0, 0);
    owned(xcb_get_input_focus_reply(m_connection.get(), xcb_get_input_focus(m_connection.get()),
                                    nullptr));
}

void KeyboardDisplay::keyDown(xcb_keycode_t keycode) { fake(XCB_KEY_PRESS, keycode, moment); }

void KeyboardDisplay::keyUp(xcb_keycode_t keycode) { fake(XCB_KEY_RELEASE, keycode, moment); }

void KeyboardDisplay::keyUpAfter(xcb_keycode_t keycode, milliseconds held) {
    fake(XCB_KEY_RELEASE, keycode, held);
}

void KeyboardDisplay::press(xcb_keycode_t keycode, const std::vector<xcb_keysym_t>& modifiers) {
    for (const xcb_keysym_t modifier : modifiers) {
        keyDown(keycodeOf(modifier));
    }
    keyDown(keycode);
    keyUp(keycode);
    for (const xcb_keysym_t modifier : modifiers) {
        keyUp(keycodeOf(modifier));
    }
}

std::uint16_t KeyboardDisplay::modifierState() const {
    const auto pointer = owned(xcb_query_pointer_reply(
        m_connection.get(), xcb_query_pointer(m_connection.get(), root()), nullptr));
    return pointer->mask;
}

void KeyboardDisplay::remap(xcb_keycode_t keycode, xcb_keysym_t keysym) {
    const bool isLetter = keysym >= 'a' && keysym <= 'z';
    remap(keycode, {keysym, isLetter ? keysym - ('a' - 'A') : keysym});
}

void KeyboardDisplay::remap(xcb_keycode_t keycode, const std::vector<xcb_keysym_t>& keysyms) {
    owned(xcb_request_check(m_connection.get(),
                            xcb_change_keyboard_mapping_checked(
                                m_connection.get(), 1, keycode,
                                static_cast<std::uint8_t>(keysyms.size()), keysyms.data())));
}

void KeyboardDisplay::chooseLayouts(const QByteArray& layouts) {
    QProcess::execute(u"setxkbmap"_qs, {u"-display"_qs, QString::fromLatin1(m_name), u"-layout"_qs,
                                        QString::fromLatin1(layouts)});
}

int KeyboardDisplay::grab(xcb_keycode_t keycode, std::uint16_t modifiers) {
    const auto error = owned(xcb_request_check(
        m_connection.get(), xcb_grab_key_checked(m_connection.get(), 0, root(), modifiers, keycode,
                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    return error ? error->error_code : 0;
}

void KeyboardDisplay::ungrab(xcb_keycode_t keycode, std::uint16_t modifiers) {
    owned(xcb_request_check(m_connection.get(), xcb_ungrab_key_checked(m_connection.get(), keycode,
                                                                       root(), modifiers)));
}

int KeyboardDisplay::takePresses() {
    int presses = 0;
    while (const auto event = owned(xcb_poll_for_event(m_connection.get()))) {
        presses += event->response_type == XCB_KEY_PRESS ? 1 : 0;
    }
    return presses;
}

} // namespace lumivane::test
