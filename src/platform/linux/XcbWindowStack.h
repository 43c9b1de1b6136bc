#pragma once

#include "platform/linux/XcbConnection.h"

#include <QRect>

#include <xcb/res.h>

#include <unordered_set>
#include <vector>

namespace lumivane {

/// A viewable window that stands directly on the root window.
struct XcbTopLevel {
    xcb_window_t window = XCB_NONE;
    QRect area; ///< in pixels of the root window, border included
    int borderWidth = 0;
    xcb_visualid_t visual = 0;
    std::uint8_t depth = 0;
    bool isOurs = false;
};

/// Tells the top-level windows of a process from all others.
///
/// A window is ours when it was made over a connection of the process, and so is the frame that a
/// window manager has put around such a window, however deep: the window manager lists what it
/// manages. Under one that keeps no list, the parent of a window of ours counts as its frame. So
/// an icon that we embedded somewhere does not take a whole panel with it. All of it is read while
/// the server is grabbed, so nothing changes in between.
class XcbWindowStack {
public:
    /// Throws DisplayServerError where the server cannot tell the processes of its clients.
    explicit XcbWindowStack(const XcbConnection& connection);

    struct Request {
        xcb_query_tree_cookie_t tree;
        xcb_res_query_client_ids_cookie_t clients;
        xcb_get_property_cookie_t managed;
        xcb_get_window_attributes_cookie_t root;
    };

    /// Sends what `ownership` reads first, without waiting.
    Request request() const;

    /// All top-level windows, lowest first, and those of them that belong to the process.
    struct Ownership {
        std::vector<xcb_window_t> all;
        std::unordered_set<xcb_window_t> ours;
    };

    Ownership ownership(const Request& request, std::int64_t processID) const;

    /// The viewable windows of `all`, lowest first; what only takes input is left out.
    std::vector<XcbTopLevel> viewable(const Ownership& ownership) const;

private:
    using ResourceBases = std::unordered_set<std::uint32_t>;

    std::uint32_t baseOf(xcb_window_t window) const;
    ResourceBases basesOf(xcb_res_query_client_ids_cookie_t cookie, std::int64_t processID) const;
    void addParents(Ownership& ownership, const ResourceBases& bases) const;
    xcb_window_t topLevelOf(xcb_window_t window) const;

    const XcbConnection& m_connection;
    xcb_atom_t m_clientList;
    std::uint32_t m_serverSideProcessID; ///< this process as the server knows it
};

} // namespace lumivane
