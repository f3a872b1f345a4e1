// A table of all files by their identity.
#include "tool/common/RunFiles.h"

#include "tool/common/Failure.h"

#include <unistd.h>

namespace kxcontour {
namespace {

/// Of a path, or of the stream that "-" stands for.
std::optional<FileIdentity> IdentityOf(const std::string& path, int stream) {
    return path == "-" ? IdentityOfDescriptor(stream) : IdentityOfPath(path);
}

std::string OutputName(const std::string& path) {
    return path == "-" ? "standard output" : path;
}

} // namespace

RunFiles::RunFiles(const std::vector<std::string>& optionFiles) {
    for (const std::string& path : optionFiles) {
        add(IdentityOfPath(path), {path, Use::Options});
    }
}

void RunFiles::read(const InputOptions& input) {
    for (const std::string& path : input.files()) {
        add(IdentityOf(path, STDIN_FILENO), {path, Use::Model});
    }
}

void RunFiles::writeDrawing(const std::string& path) {
    const std::optional<FileIdentity> file = IdentityOf(path, STDOUT_FILENO);
    const std::string name = OutputName(path);
    if (const Entry* other = find(file)) {
        switch (other->use) {
        case Use::Model:
            RefuseUsage(name + ": is an input; the drawing would overwrite it");
        case Use::Options:
            RefuseUsage(name + ": is a file of options; the drawing would overwrite it");
        default:
            RefuseUsage(name + ": is the same file as " + other->path +
                        "; one would overwrite the other");
        }
    }
    add(file, {name, Use::Drawing});
}

void RunFiles::writeState(const std::string& path) {
    const std::optional<FileIdentity> file = IdentityOfPath(path);
    if (find(file) != nullptr) {
        RefuseUsage("state '" + path + "' is already a file of the batch");
    }
    add(file, {path, Use::State});
}

void RunFiles::print() {
    const std::optional<FileIdentity> file = IdentityOfDescriptor(STDOUT_FILENO);
    if (const Entry* other = find(file)) {
        RefuseUsage("standard output is redirected to " + other->path +
                    ", which is a file of this run");
    }
    add(file, {"standard output", Use::Results});
}

void RunFiles::readSideFiles(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const std::optional<FileIdentity> file = IdentityOfPath(path);
        const Entry* other = find(file);
        if (other != nullptr && (other->use == Use::State || other->use == Use::Results)) {
            RefuseUsage(other->path + ": belongs to a model and would be overwritten");
        }
        if (file) {
            sideFiles_.insert(*file);
        }
    }
}

void RunFiles::requireNoSideFile(const std::string& drawing) const {
    const std::optional<FileIdentity> file = IdentityOf(drawing, STDOUT_FILENO);
    if (file && sideFiles_.count(*file) > 0) {
        RefuseUsage(OutputName(drawing) + ": belongs to a model; the drawing would overwrite it");
    }
}

void RunFiles::add(const std::optional<FileIdentity>& file, const Entry& entry) {
    if (file) {
        entries_.emplace(*file, entry);
    }
}

const RunFiles::Entry* RunFiles::find(const std::optional<FileIdentity>& file) const {
    const auto found = file ? entries_.find(*file) : entries_.end();
    return found == entries_.end() ? nullptr : &found->second;
}

} // namespace kxcontour
