// Checks the frame of a job file; the options in it are read by their keys.
#include "options/JobFile.h"

#include "drawing/common/Failure.h"
#include "drawing/common/NearestName.h"
#include "drawing/common/Shortened.h"
#include "options/Nesting.h"
#include "options/OptionKeys.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace kxcontour {
namespace {

using Json = nlohmann::json;

void RequireKnownMembers(const Json& root, const std::string& path) {
    const std::vector<std::string> known{"defaults", "jobs"};
    for (const auto& [key, value] : root.items()) {
        if (std::count(known.begin(), known.end(), key) == 0) {
            const std::string nearest = NearestName(key, known);
            std::string message = path;
            message += ": unknown key '" + Shortened(key) + "'; ";
            message += nearest.empty() ? "there are 'defaults' and 'jobs'"
                                       : "did you mean '" + nearest + "'?";
            RefuseUsage(message);
        }
    }
}

void RequireFrame(const Json& root, const std::string& path) {
    if (!root.is_object()) {
        RefuseUsage(path + ": has to be a table with a list 'jobs', not " + TypeText(root));
    }
    RequireKnownMembers(root, path);
    if (!root.contains("jobs")) {
        RefuseUsage(path + ": has no list 'jobs'");
    }
    if (!root["jobs"].is_array()) {
        RefuseUsage(path + ": 'jobs' has to be a list, not " + TypeText(root["jobs"]));
    }
    if (root["jobs"].empty()) {
        RefuseUsage(path + ": has no jobs");
    }
}

GivenOptions ReadDefaults(const Json& root, const std::string& path) {
    if (!root.contains("defaults")) {
        return {};
    }
    if (!root["defaults"].is_object()) {
        RefuseUsage(path + ": 'defaults' has to be a table, not " + TypeText(root["defaults"]));
    }
    KeySource source;
    source.file = path;
    source.where = path + ": defaults: ";
    source.valueWhere = "defaults: ";
    source.place = Scope::Anywhere;
    return ReadKeys(root["defaults"], source);
}

GivenJob ReadJob(const Json& entry, const std::string& where, const std::string& path) {
    if (!entry.is_object()) {
        RefuseUsage(where + "has to be a table, not " + TypeText(entry));
    }
    GivenJob job;
    job.where = where;
    if (entry.contains("name")) {
        if (!entry["name"].is_string()) {
            RefuseUsage(where + "name has to be a text, not " + TypeText(entry["name"]));
        }
        job.name = entry["name"].get<std::string>();
        if (job.name.find('\0') != std::string::npos) {
            RefuseUsage(where + "name has a zero character in its text");
        }
    }
    KeySource source;
    source.file = path;
    source.where = where;
    source.place = Scope::Anywhere;
    source.otherKeys = {"name"};
    job.options = ReadKeys(entry, source);
    return job;
}

} // namespace

std::vector<GivenJob> ReadJobFile(const std::string& path) {
    const std::string text = ReadOptionFile(path);
    RequireShallow(text, OptionSyntax::Json, path);
    const Json root = ParseJson(text, path);
    RequireFrame(root, path);
    const GivenOptions defaults = ReadDefaults(root, path);
    std::vector<GivenJob> jobs;
    for (const Json& entry : root["jobs"]) {
        const std::string where = path + ": job " + std::to_string(jobs.size() + 1) + ": ";
        jobs.push_back(ReadJob(entry, where, path));
        jobs.back().options.putBelow(defaults);
    }
    return jobs;
}

} // namespace kxcontour
