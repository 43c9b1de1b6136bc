#include "server/memory_build/ApproachTests.h"

#include "server/text/StrictJson.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <cstring>

namespace lumivane::service {

namespace json = boost::json;

namespace {

json::string textOf(std::string_view text) { return json::string(text.data(), text.size()); }

std::string_view nameOf(ResultOrder order) {
    switch (order) {
    case ResultOrder::exact:
        return "exact";
    case ResultOrder::any:
        return "any";
    case ResultOrder::anyInside:
        return "anyInside";
    }
    return {};
}

std::string programOf(const Exercise& exercise, const Approach& approach,
                      const std::string& harness) {
    json::object job;
    job["code"] = textOf(approach.code);
    job["entry"] = textOf(exercise.signs.entry);
    job["isClass"] = exercise.isClass;
    job["gives"] = textOf(exercise.gives);
    job["order"] = textOf(nameOf(exercise.order));
    json::array takes;
    for (const std::string& maker : exercise.takes) {
        takes.push_back(textOf(maker));
    }
    job["takes"] = std::move(takes);
    job["tests"] = exercise.tests;
    // A text in JSON is a text in Python as well.
    const std::string quoted = json::serialize(json::value(textOf(json::serialize(job))));
    return harness + "\nmain(json.loads(" + quoted + "))\n";
}

std::string failureOfEnd(const SandboxResult& result) {
    switch (result.end) {
    case SandboxResult::End::exited:
        return result.status == 0 ? "" : "it ended with status " + std::to_string(result.status);
    case SandboxResult::End::killed:
        return "it was ended by signal " + std::to_string(result.status) +
               "; it may have used too much time or memory";
    case SandboxResult::End::timedOut:
        return "it took too long";
    case SandboxResult::End::saidTooMuch:
        return "it wrote too much";
    case SandboxResult::End::neverStarted:
        return std::string("the interpreter cannot be started: ") + std::strerror(result.status);
    }
    return "it ended in an unknown way";
}

std::string failureInReport(const std::string& output, std::size_t tests) {
    try {
        const json::value report = parseStrictly(output);
        const auto* record = report.if_object();
        const auto* run = record != nullptr ? record->if_contains("run") : nullptr;
        const auto* failed = record != nullptr ? record->if_contains("failed") : nullptr;
        if (run != nullptr && failed != nullptr && failed->is_array() &&
            *run == json::value(static_cast<std::int64_t>(tests))) {
            return failed->get_array().empty() ? ""
                                               : "it fails the tests " + json::serialize(*failed);
        }
    } catch (const JsonError&) {
        // Said below.
    }
    return "it gave no report";
}

} // namespace

ApproachReport runTests(const Exercise& exercise, const Approach& approach,
                        const PythonRuntime& runtime) {
    // No settings of the user, no packages, no compiled files left behind.
    ApproachReport report;
    report.run = runSandboxed(runtime.interpreter, {"-I", "-S", "-B", "-"},
                              programOf(exercise, approach, runtime.harness), runtime.limits);
    report.failure = failureOfEnd(report.run);
    if (report.failure.empty()) {
        report.failure = failureInReport(report.run.output, exercise.tests.size());
    }
    return report;
}

} // namespace lumivane::service
