// Columns: name, result, lines, seconds.
#include "tool/batch/BatchTable.h"

#include "tool/common/PlainText.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace kxcontour {
namespace {

const char* NameOf(JobState state) {
    switch (state) {
    case JobState::Drawn:
        return "drawn";
    case JobState::UpToDate:
        return "up to date";
    case JobState::Failed:
        break;
    }
    return "failed";
}

std::string TextTable(const BatchCommand& command, const std::vector<JobResult>& results) {
    std::size_t width = 4;
    std::vector<std::string> names;
    for (const BatchJob& job : command.jobs) {
        names.push_back(PlainText(job.name));
        width = std::max(width, names.back().size());
    }
    std::string text =
        fmt::format("{:<{}}  {:<10} {:>8} {:>8}\n", "job", width, "result", "lines", "seconds");
    for (std::size_t i = 0; i < results.size(); ++i) {
        const JobResult& result = results[i];
        text += fmt::format("{:<{}}  {:<10}", names[i], width, NameOf(result.state));
        if (result.state == JobState::Drawn) {
            text += fmt::format(" {:>8} {:>8.2f}", result.report.lines.paths, result.seconds);
        }
        text += '\n';
    }
    return text;
}

std::string Counts(const std::vector<JobResult>& results) {
    const auto count = [&](JobState state) {
        return std::count_if(results.begin(), results.end(),
                             [state](const JobResult& result) { return result.state == state; });
    };
    return fmt::format("{} drawn, {} up to date, {} failed\n", count(JobState::Drawn),
                       count(JobState::UpToDate), count(JobState::Failed));
}

std::string JsonTable(const BatchCommand& command, const std::vector<JobResult>& results) {
    nlohmann::ordered_json table(nlohmann::ordered_json::value_t::array);
    for (std::size_t i = 0; i < results.size(); ++i) {
        const JobResult& result = results[i];
        nlohmann::ordered_json row;
        row["job"] = command.jobs[i].name;
        row["output"] = command.jobs[i].options.output.path;
        row["result"] = NameOf(result.state);
        if (result.state == JobState::Drawn) {
            row["paths"] = result.report.lines.paths;
            row["seconds"] = result.seconds;
        } else if (result.state == JobState::Failed) {
            row["code"] = static_cast<int>(result.failure.code);
            row["failure"] = result.failure.message;
        }
        table.push_back(row);
    }
    return table.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

} // namespace

void PrintTable(const BatchCommand& command,
                const std::vector<JobResult>& results,
                std::ostream& out) {
    if (command.messages.json) {
        out << JsonTable(command, results) << std::flush;
    } else if (!command.messages.quiet) {
        out << TextTable(command, results) + Counts(results) << std::flush;
    }
}

} // namespace kxcontour
