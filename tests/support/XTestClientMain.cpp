#include "support/XTestClient.h"

#include <iostream>
#include <sstream>
#include <string>

// Shows windows on behalf of a test, so that they belong to another process. Reads one request a
// line and answers each with one number; ends with its input. See XTestProcess.

namespace {

using lumivane::test::XTestClient;
using lumivane::test::XWindowSpec;

QRect readArea(std::istream& words) {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    words >> x >> y >> width >> height;
    return {x, y, width, height};
}

XWindowSpec readSpec(std::istream& words) {
    XWindowSpec spec;
    std::size_t parts = 0;
    spec.area = readArea(words);
    words >> spec.seed >> spec.borderWidth >> spec.depth >> spec.overridesRedirect >>
        spec.onlyTakesInput >> spec.parent >> parts;
    for (; parts > 0; --parts) {
        spec.shape.push_back(readArea(words));
    }
    return spec;
}

std::uint32_t answer(XTestClient& client, std::istream& words) {
    std::string verb;
    xcb_window_t window = XCB_NONE;
    words >> verb;
    if (verb == "show") {
        return client.show(readSpec(words));
    }
    words >> window;
    if (verb == "hide") {
        client.hide(window);
        return 1;
    }
    return verb == "wait" && client.waitUntilShown(window) ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    try {
        XTestClient client(argv[1]);
        for (std::string line; std::getline(std::cin, line);) {
            std::istringstream words(line);
            std::cout << answer(client, words) << std::endl;
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
