// What is read first, then what is written.
#include "options/CommandFiles.h"

namespace kxcontour {
namespace {

RunFiles OptionFiles(const std::vector<std::string>& paths) {
    RunFiles files;
    for (const std::string& path : paths) {
        files.readOptions(path);
    }
    return files;
}

void AddModels(RunFiles& files, const InputOptions& input) {
    for (const std::vector<std::string>* models : {&input.models, &input.occluders}) {
        for (const std::string& model : *models) {
            files.readModel(model);
        }
    }
}

bool Prints(const MessageOptions& options) {
    return options.json || !options.quiet;
}

} // namespace

RunFiles FilesOf(const DrawCommand& command) {
    RunFiles files = OptionFiles(command.optionFiles);
    AddModels(files, command.options.input);
    files.writeDrawing(command.options.output.path);
    // Standard output may be taken by the drawing.
    if (command.options.output.path != "-" && Prints(command.options.messages)) {
        files.print();
    }
    return files;
}

RunFiles FilesOf(const InfoCommand& command) {
    RunFiles files = OptionFiles(command.optionFiles);
    AddModels(files, command.input);
    files.print();
    return files;
}

RunFiles FilesOf(const BatchCommand& command) {
    RunFiles files = OptionFiles(command.optionFiles);
    for (const BatchJob& job : command.jobs) {
        AddModels(files, job.options.input);
    }
    for (const BatchJob& job : command.jobs) {
        files.writeDrawing(job.options.output.path);
    }
    if (!command.statePath.empty()) {
        files.writeState(command.statePath);
    }
    if (Prints(command.messages)) {
        files.print();
    }
    return files;
}

} // namespace kxcontour
