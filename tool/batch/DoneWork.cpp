// Notes are texts that are compared as a whole: the stamps of the files, then the options.
#include "batch/DoneWork.h"

#include "common/Failure.h"
#include "output/BufferedFile.h"
#include "output/OutputFile.h"
#include "output/Writers.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vector>

namespace kxcontour {
namespace {

/// Size and time of the last change; nothing for a file that is not there.
std::optional<std::string> StampOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return std::to_string(status.st_size) + " " + std::to_string(status.st_mtim.tv_sec) + "." +
           std::to_string(status.st_mtim.tv_nsec);
}

/// Nothing when the drawing is missing.
std::optional<std::string> NoteFor(const BatchJob& job, const std::string& inputs) {
    const std::optional<std::string> output = StampOf(job.options.output.path);
    return output ? std::optional<std::string>(inputs + *output + "\n" + job.signature)
                  : std::nullopt;
}

} // namespace

DoneWork::DoneWork(std::string path) : path_(std::move(path)) {
    if (path_.empty()) {
        return;
    }
    const OutputFile writable(path_);
    std::ifstream file(path_);
    const nlohmann::json notes = nlohmann::json::parse(file, nullptr, false);
    if (!notes.is_object()) {
        return;
    }
    for (const auto& [output, note] : notes.items()) {
        if (note.is_string()) {
            notes_[output] = note.get<std::string>();
        }
    }
}

std::string DoneWork::InputsOf(const InputOptions& input) {
    std::string stamps;
    for (const std::vector<std::string>* files : {&input.models, &input.occluders}) {
        for (const std::string& file : *files) {
            stamps += StampOf(file).value_or("missing") + "\n";
        }
    }
    return stamps;
}

bool DoneWork::covers(const BatchJob& job) const {
    const std::optional<std::string> now = NoteFor(job, InputsOf(job.options.input));
    const std::lock_guard lock(mutex_);
    const auto found = notes_.find(job.options.output.path);
    return now && found != notes_.end() && found->second == *now;
}

void DoneWork::note(const BatchJob& job, const std::string& inputs) {
    const std::optional<std::string> now = NoteFor(job, inputs);
    const std::lock_guard lock(mutex_);
    if (now) {
        notes_[job.options.output.path] = *now;
    }
}

void DoneWork::save() const {
    if (path_.empty()) {
        return;
    }
    nlohmann::json notes(nlohmann::json::value_t::object);
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [output, note] : notes_) {
            notes[output] = note;
        }
    }
    OutputFile output(path_);
    try {
        BufferedFile file(output.create());
        file << notes.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
        file.close();
    } catch (const WriteFailure& failure) {
        throw Failure(ExitCode::CannotWrite, path_ + ": cannot write: " +
                                                 std::generic_category().message(failure.reason()));
    }
    output.commit();
}

} // namespace kxcontour
