#include "server/profile/ProfileRoutes.h"

#include "server/accounts/AnswerOnPool.h"
#include "server/text/Utf8.h"

#include <boost/asio/post.hpp>
#include <boost/json/serialize.hpp>

#include <exception>

namespace lumivane::service {

namespace {

using Freshness = HandleFilterPublisher::Freshness;

constexpr std::uint64_t bodyBytes = 16UL * 1024UL;

std::string entityTag(std::string_view version) { return "\"" + std::string(version) + "\""; }

HttpResponse changeProfile(ProfileServices& services, const HttpRequest& request) {
    const ProfileChange wanted = decodeProfileChange(request.body);
    const UserSummary user = services.profile.change(*request.principal, wanted);
    return jsonResponse(boost::json::serialize(encodeUser(user)));
}

HttpResponse judgeHandle(ProfileServices& services, const HttpRequest& request) {
    const std::string handle = decodeHandleQuestion(request.body);
    return jsonResponse(
        encodeHandleAvailability(services.profile.availability(*request.principal, handle)));
}

HttpResponse filterResponse(const PublishedHandleFilter& filter,
                            const std::optional<std::string>& ifNoneMatch) {
    HttpResponse response;
    if (ifNoneMatch && namesVersion(*ifNoneMatch, filter.version)) {
        response.status = 304;
    } else {
        response.body = filter.body;
    }
    response.headers.emplace_back("ETag", entityTag(filter.version));
    // Who is to hold it does so by the entity tag; shared caches do not.
    response.headers.emplace_back("Cache-Control", "private, no-cache");
    return response;
}

HttpResponse handleFilter(ProfileServices& services, boost::asio::thread_pool& pool,
                          const HttpRequest& request) {
    auto current = services.filter.current();
    if (current.freshness == Freshness::overdue && services.filter.rebuild()) {
        current = services.filter.current();
    }
    if (current.freshness == Freshness::due) {
        refreshHandleFilter(services, pool);
    }
    if (!current.filter) {
        return emptyResponse();
    }
    return filterResponse(*current.filter, request.head.ifNoneMatch);
}

Route route(const char* name, HttpMethod method, const char* path, BodyRule bodyRule) {
    Route made;
    made.name = name;
    made.method = method;
    made.path = path;
    made.access = Access::session;
    made.bodyRule = bodyRule;
    made.bodyBytes = bodyBytes;
    return made;
}

template <typename Answer>
Handler onPool(boost::asio::thread_pool& pool, Answer answer) {
    return [&pool, answer](HttpRequest request) {
        std::string id = request.requestId;
        auto work = [answer, request = std::move(request)] { return answer(request); };
        return answerOnPool(pool, std::move(id), std::move(work));
    };
}

} // namespace

bool namesVersion(std::string_view ifNoneMatch, std::string_view version) {
    const std::string tag = entityTag(version);
    std::string_view rest = ifNoneMatch;
    // Versions hold no comma, so that a tag which was cut at one of its own is none of ours.
    for (;;) {
        const std::size_t end = rest.find(',');
        std::string_view candidate = trimmed(rest.substr(0, end));
        if (candidate == "*") {
            return true;
        }
        if (candidate.starts_with("W/")) {
            candidate.remove_prefix(2);
        }
        if (candidate == tag) {
            return true;
        }
        if (end == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(end + 1);
    }
}

void refreshHandleFilter(ProfileServices& services, boost::asio::thread_pool& pool) {
    boost::asio::post(pool, [&services] {
        try {
            services.filter.rebuild();
        } catch (const std::exception&) {
            // The lease runs out, and whoever asks then tries again.
            return;
        }
    });
}

std::vector<Route> profileRoutes(ProfileServices& services, boost::asio::thread_pool& pool) {
    Route profile = route("profile", HttpMethod::patch, "/v1/auth/profile", BodyRule::json);
    profile.handler = onPool(
        pool, [&services](const HttpRequest& request) { return changeProfile(services, request); });

    Route availability = route("handles/availability", HttpMethod::post,
                               "/v1/auth/handles/availability", BodyRule::json);
    availability.handler = onPool(
        pool, [&services](const HttpRequest& request) { return judgeHandle(services, request); });

    Route filter =
        route("handles/filter", HttpMethod::get, "/v1/auth/handles/filter", BodyRule::none);
    filter.handler = onPool(pool, [&services, &pool](const HttpRequest& request) {
        return handleFilter(services, pool, request);
    });

    std::vector<Route> routes;
    routes.push_back(std::move(profile));
    routes.push_back(std::move(availability));
    routes.push_back(std::move(filter));
    return routes;
}

} // namespace lumivane::service
