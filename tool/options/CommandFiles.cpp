// Inputs are added before outputs, so that a conflict is reported for the output.
#include "tool/options/CommandFiles.h"

namespace kxcontour {
namespace {

RunFiles ReadFiles(const std::vector<std::string>& optionFiles,
                   const std::vector<const InputOptions*>& inputs) {
    RunFiles files;
    for (const std::string& path : optionFiles) {
        files.readOptions(path);
    }
    for (const InputOptions* input : inputs) {
        for (const std::vector<std::string>* models : {&input->models, &input->occluders}) {
            for (const std::string& model : *models) {
                files.readModel(model);
            }
        }
    }
    return files;
}

bool Prints(const MessageOptions& options) {
    return options.json || !options.quiet;
}

} // namespace

RunFiles FilesOf(const DrawCommand& command) {
    RunFiles files = ReadFiles(command.optionFiles, {&command.options.input});
    files.writeDrawing(command.options.output.path);
    // The drawing may occupy standard output.
    if (command.options.output.path != "-" && Prints(command.options.messages)) {
        files.print();
    }
    return files;
}

RunFiles FilesOf(const InfoCommand& command) {
    RunFiles files = ReadFiles(command.optionFiles, {&command.input});
    files.print();
    return files;
}

RunFiles FilesOf(const BatchCommand& command) {
    std::vector<const InputOptions*> inputs;
    for (const BatchJob& job : command.jobs) {
        inputs.push_back(&job.options.input);
    }
    RunFiles files = ReadFiles(command.optionFiles, inputs);
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
