#include "platform/linux/XcbWindowStack.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

/// Calls `visit` with the resource base and the process of every client in the reply.
template <typename Visit>
void eachClient(const xcb_res_query_client_ids_reply_t& reply, Visit visit) {
    auto each = xcb_res_query_client_ids_ids_iterator(&reply);
    for (; each.rem > 0; xcb_res_client_id_value_next(&each)) {
        if (xcb_res_client_id_value_value_length(each.data) > 0) {
            visit(each.data->spec.client, *xcb_res_client_id_value_value(each.data));
        }
    }
}

xcb_res_query_client_ids_cookie_t requestProcesses(const XcbConnection& connection,
                                                   std::uint32_t client) {
    const xcb_res_client_id_spec_t spec{client, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return xcb_res_query_client_ids(connection.raw(), 1, &spec);
}

/// Differs from our own idea of it where the server lives in another space of process numbers.
std::uint32_t serverSideProcessID(const XcbConnection& connection) {
    const auto cookie =
        requestProcesses(connection, xcb_get_setup(connection.raw())->resource_id_base);
    const auto reply = connection.expect(xcb_res_query_client_ids_reply, cookie);
    std::uint32_t processID = 0;
    eachClient(*reply, [&](std::uint32_t, std::uint32_t process) { processID = process; });
    if (processID == 0 || processID == ~0U) {
        throw DisplayServerError("The display server does not know this process.");
    }
    return processID;
}

} // namespace

XcbWindowStack::XcbWindowStack(const XcbConnection& connection)
    : m_connection(connection)
    , m_clientList(connection.atom("_NET_CLIENT_LIST")) {
    connection.requireExtension(xcb_res_id, "X-Resource");
    const auto version = connection.expect(xcb_res_query_version_reply,
                                           xcb_res_query_version(connection.raw(), 1, 2));
    if (std::pair(version->server_major, version->server_minor) <
        std::pair<std::uint16_t, std::uint16_t>(1, 2)) {
        throw DisplayServerError("The display server cannot tell whose windows it shows.");
    }
    m_serverSideProcessID = serverSideProcessID(connection);
}

XcbWindowStack::Request XcbWindowStack::request() const {
    xcb_connection_t* connection = m_connection.raw();
    const xcb_window_t root = m_connection.root();
    return {xcb_query_tree(connection, root), requestProcesses(m_connection, XCB_NONE),
            m_connection.requestItems(root, m_clientList, XCB_ATOM_WINDOW),
            xcb_get_window_attributes(connection, root)};
}

XcbWindowStack::Ownership XcbWindowStack::ownership(const Request& request,
                                                    std::int64_t processID) const {
    const auto tree = m_connection.expect(xcb_query_tree_reply, request.tree);
    const ResourceBases bases = basesOf(request.clients, processID);
    const auto managed = m_connection.items(request.managed);
    const auto root = m_connection.expect(xcb_get_window_attributes_reply, request.root);
    const auto* first = xcb_query_tree_children(tree.get());
    Ownership ownership{{first, first + tree->children_len}, {}};
    for (const xcb_window_t window : ownership.all) {
        if (bases.contains(baseOf(window))) {
            ownership.ours.insert(window);
        }
    }
    for (const xcb_window_t window : managed) {
        if (bases.contains(baseOf(window))) {
            ownership.ours.insert(topLevelOf(window));
        }
    }
    const bool hasWindowManager =
        (root->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
    if (hasWindowManager && managed.empty()) {
        addParents(ownership, bases);
    }
    return ownership;
}

void XcbWindowStack::addParents(Ownership& ownership, const ResourceBases& bases) const {
    std::vector<xcb_query_tree_cookie_t> asked;
    asked.reserve(ownership.all.size());
    for (const xcb_window_t window : ownership.all) {
        asked.push_back(xcb_query_tree(m_connection.raw(), window));
    }
    const auto isOurs = [&](xcb_window_t window) { return bases.contains(baseOf(window)); };
    for (std::size_t index = 0; index < asked.size(); ++index) {
        const auto tree = m_connection.attempt(xcb_query_tree_reply, asked[index]);
        if (!tree) {
            continue;
        }
        const auto* first = xcb_query_tree_children(tree.get());
        if (std::any_of(first, first + tree->children_len, isOurs)) {
            ownership.ours.insert(ownership.all[index]);
        }
    }
}

xcb_window_t XcbWindowStack::topLevelOf(xcb_window_t window) const {
    while (true) {
        const auto tree =
            m_connection.attempt(xcb_query_tree_reply, xcb_query_tree(m_connection.raw(), window));
        if (!tree || tree->parent == tree->root || tree->parent == XCB_NONE) {
            return window;
        }
        window = tree->parent;
    }
}

std::vector<XcbTopLevel> XcbWindowStack::viewable(const Ownership& ownership) const {
    struct Asked {
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
    };

    std::vector<Asked> asked;
    asked.reserve(ownership.all.size());
    for (const xcb_window_t window : ownership.all) {
        asked.push_back({xcb_get_window_attributes(m_connection.raw(), window),
                         xcb_get_geometry(m_connection.raw(), window)});
    }
    std::vector<XcbTopLevel> result;
    for (std::size_t index = 0; index < asked.size(); ++index) {
        const auto attributes =
            m_connection.attempt(xcb_get_window_attributes_reply, asked[index].attributes);
        const auto geometry = m_connection.attempt(xcb_get_geometry_reply, asked[index].geometry);
        if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY) {
            continue;
        }
        const int border = geometry->border_width;
        const xcb_window_t window = ownership.all[index];
        result.push_back({window,
                          QRect(geometry->x, geometry->y, geometry->width + 2 * border,
                                geometry->height + 2 * border),
                          border, attributes->visual, geometry->depth,
                          ownership.ours.contains(window)});
    }
    return result;
}

std::uint32_t XcbWindowStack::baseOf(xcb_window_t window) const {
    return window & ~xcb_get_setup(m_connection.raw())->resource_id_mask;
}

XcbWindowStack::ResourceBases XcbWindowStack::basesOf(xcb_res_query_client_ids_cookie_t cookie,
                                                      std::int64_t processID) const {
    const std::int64_t wanted =
        processID == getpid() ? std::int64_t(m_serverSideProcessID) : processID;
    const auto reply = m_connection.expect(xcb_res_query_client_ids_reply, cookie);
    ResourceBases bases;
    eachClient(*reply, [&](std::uint32_t client, std::uint32_t process) {
        if (process == wanted) {
            bases.insert(client);
        }
    });
    return bases;
}

} // namespace lumivane
