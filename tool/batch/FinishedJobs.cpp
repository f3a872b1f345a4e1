// Each note is a text that is compared as a whole: the stamps of the files, then the options.
#include "tool/batch/FinishedJobs.h"

#include "drawing/files/OutputFile.h"
#include "tool/common/Failure.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kxcontour {
namespace {

/// Size and time of the last change; none for a file that does not exist.
std::optional<std::string> StampOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return std::to_string(status.st_size) + " " + std::to_string(status.st_mtim.tv_sec) + "." +
           std::to_string(status.st_mtim.tv_nsec);
}

/// None where the drawing is missing.
std::optional<std::string> NoteFor(const BatchJob& job, const std::string& inputs) {
    const std::optional<std::string> output = StampOf(job.options.output.path);
    return output ? std::optional<std::string>(inputs + *output + "\n" + job.signature)
                  : std::nullopt;
}

/// A line of the file: an object with one note.
std::string LineOf(const std::string& output, const std::string& note) {
    return nlohmann::json{{output, note}}.dump(-1, ' ', false,
                                               nlohmann::json::error_handler_t::replace) +
           "\n";
}

/// Appends all bytes or none: a line that did not fit is truncated again.
void Append(int file, std::string_view bytes) {
    const off_t end = ::lseek(file, 0, SEEK_END);
    if (!WriteAll(file, bytes)) {
        const int reason = errno;
        [[maybe_unused]] const int truncated = ::ftruncate(file, end);
        throw std::system_error(reason, std::generic_category());
    }
}

} // namespace

FinishedJobs::FinishedJobs(std::string path) : path_(std::move(path)) {
    if (!path_.empty()) {
        const OutputFile writable(path_);
        read();
    }
}

/// The file is a sequence of objects with notes. Reading ends at one that is cut short: nothing is
/// ever written behind it.
void FinishedJobs::read() {
    std::ifstream file(path_);
    nlohmann::json notes;
    try {
        while (file >> std::ws && file.peek() != std::ifstream::traits_type::eof()) {
            file >> notes;
            if (!notes.is_object()) {
                return;
            }
            for (const auto& [output, note] : notes.items()) {
                if (note.is_string()) {
                    notes_[output] = note.get<std::string>();
                }
            }
        }
    } catch (const nlohmann::json::exception&) {
        return;
    }
}

std::string FinishedJobs::InputsOf(const InputOptions& input) {
    std::string stamps;
    for (const std::string& file : input.files()) {
        stamps += StampOf(file).value_or("missing") + "\n";
    }
    return stamps;
}

bool FinishedJobs::covers(const BatchJob& job) const {
    const std::optional<std::string> now = NoteFor(job, InputsOf(job.options.input));
    const auto found = notes_.find(job.options.output.path);
    return now && found != notes_.end() && found->second == *now;
}

void FinishedJobs::note(const BatchJob& job, const std::string& inputs) {
    const std::optional<std::string> now = NoteFor(job, inputs);
    if (!now || path_.empty()) {
        return;
    }
    const std::string& output = job.options.output.path;
    notes_[output] = *now;
    try {
        if (!file_) {
            replaceFile();
        } else {
            Append(file_.number(), LineOf(output, *now));
        }
    } catch (const std::system_error& error) {
        RefuseToWrite(path_, error.code().value());
    }
}

void FinishedJobs::replaceFile() {
    std::string lines;
    for (const auto& [output, note] : notes_) {
        lines += LineOf(output, note);
    }
    OutputFile output(path_);
    // A second descriptor: commit() closes that of the output.
    Descriptor file(::fcntl(output.create(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!file) {
        throw std::system_error(errno, std::generic_category());
    }
    Append(file.number(), lines);
    output.commit();
    file_ = std::move(file);
}

} // namespace kxcontour
