#pragma once

#include "platform/DisplayServer.h"

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace lumivane {

struct FreeXcbReply {
    void operator()(void* reply) const { std::free(reply); }
};

template <typename Reply>
using XcbReply = std::unique_ptr<Reply, FreeXcbReply>;

/// One connection to the X server, closed with its object.
///
/// Unlike the toolkit's connection it outlives its server quietly: whatever is asked of it from
/// then on throws DisplayServerError. It is not locked; its owner serialises the calls.
class XcbConnection {
public:
    /// An empty name means the one in the environment. Throws DisplayServerError.
    explicit XcbConnection(const QByteArray& displayName);
    ~XcbConnection();
    XcbConnection(const XcbConnection&) = delete;
    XcbConnection& operator=(const XcbConnection&) = delete;

    xcb_connection_t* raw() const { return m_connection; }

    const xcb_screen_t& screen() const { return *m_screen; }

    xcb_window_t root() const { return m_screen->root; }

    /// The number of the screen that the display's name asks for.
    int screenNumber() const { return m_screenNumber; }

    bool isAlive() const { return xcb_connection_has_error(m_connection) == 0; }

    /// Throws DisplayServerError when the server lacks the extension.
    void requireExtension(xcb_extension_t& extension, std::string_view name) const;

    /// The atom of a name, made where it is new.
    xcb_atom_t atom(std::string_view name) const;

    /// Waits for a reply. Throws DisplayServerError on an error reply and when the server is gone.
    template <typename Reply, typename Cookie>
    XcbReply<Reply> expect(Reply* (*fetch)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                           Cookie cookie) const {
        auto reply = attempt(fetch, cookie);
        if (!reply) {
            throwRefused();
        }
        return reply;
    }

    /// The same, but an error reply, as when a window has just gone, gives null.
    template <typename Reply, typename Cookie>
    XcbReply<Reply> attempt(Reply* (*fetch)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                            Cookie cookie) const {
        xcb_generic_error_t* error = nullptr;
        XcbReply<Reply> reply(fetch(m_connection, cookie, &error));
        std::free(error);
        if (!reply) {
            throwIfGone();
        }
        return reply;
    }

    /// Forgets a request: whatever comes of it is dropped.
    void discard(unsigned int sequence) const { xcb_discard_reply(m_connection, sequence); }

    /// Waits for a checked request. Throws DisplayServerError where it failed.
    void expectSuccess(xcb_void_cookie_t cookie) const;

    /// Asks for a property of 32-bit items; the answer is read with `items`.
    xcb_get_property_cookie_t requestItems(xcb_window_t window, xcb_atom_t property,
                                           xcb_atom_t type) const;

    /// The items of a property; none where the window or the property is absent or of another
    /// form.
    std::vector<std::uint32_t> items(xcb_get_property_cookie_t cookie) const;

    /// Drops what the server sent unasked, such as errors of requests that nobody waits for.
    void dropEvents() const;

    void throwIfGone() const;

private:
    [[noreturn]] static void throwRefused();

    xcb_connection_t* m_connection;
    const xcb_screen_t* m_screen = nullptr;
    int m_screenNumber = 0;
};

} // namespace lumivane
