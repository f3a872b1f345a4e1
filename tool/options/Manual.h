// The prose of the help and the manual page: topics, examples, exit codes. Paragraphs are separated
// by empty lines; those that begin with two blanks are shown verbatim, others are wrapped.
#pragma once

#include "tool/options/OptionTable.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

/// A topic of the help.
struct TopicInfo {
    std::optional<Topic> topic; ///< Of the options that belong to it; none: it has none.
    const char* name;           ///< For `kxcontour help NAME`.
    const char* heading;        ///< Above its options.
    const char* text;           ///< An introduction.
};

/// In the order of the help.
inline constexpr std::array<TopicInfo, 8> kTopics{
    {{Topic::Input, "input", "Input",
      "One or more models make one drawing. The format of a file follows from its name and "
      "contents."},
     {Topic::Camera, "camera", "View",
      "A named view, angles, or points determine the direction of view; points override angles, "
      "and angles override the name. The drawing fills the page inside its margin unless --scale "
      "or --zoom is given."},
     {Topic::Page, "page", "Page",
      "Lengths are in millimetres, or followed by mm, cm, in or pt (1/72 in)."},
     {Topic::Lines, "lines", "Lines",
      "Each line is drawn once, and lines that meet are joined into long paths. A rim that "
      "alternates between two widths every few lines (one to five lighter lines between heavier "
      "ones, along a curve) is drawn in the larger width."},
     {Topic::Output, "output", "Output",
      "The same input and options give the same bytes on every machine."},
     {Topic::Batch, "batch", "Batch",
      "`kxcontour batch JOBS.json` makes many drawings, and `kxcontour MODEL --views LIST -o "
      "NAME-{view}.svg` makes several of one model. Models are read once. Drawings that are up to "
      "date are skipped. A failed drawing does not stop the others.\n\n"
      "A job file contains an array of jobs, whose keys are the long names of options, and "
      "optional "
      "defaults for all jobs. Paths are relative to the job file:\n\n"
      "  {\n"
      "    \"defaults\": {\"page\": \"A3\", \"hidden\": true},\n"
      "    \"jobs\": [\n"
      "      {\"name\": \"cover\", \"model\": \"engine.glb\", \"output\": \"cover.pdf\"},\n"
      "      {\"model\": [\"a.stl\", \"b.stl\"], \"views\": [\"front\", \"top\"],\n"
      "       \"output\": \"ab-{view}.svg\"}\n"
      "    ]\n"
      "  }\n\n"
      "Options on the command line override those of every job; models, outputs and views are "
      "given "
      "in the job file only."},
     {Topic::Messages, "messages", "Messages",
      "Results are printed on standard output, everything else on standard error. The progress bar "
      "appears on a terminal only."},
     {std::nullopt, "config", "Configuration files",
      "`--config FILE` reads options from a TOML file (ending .toml) or a JSON file (.json). Keys "
      "are the long names of options without dashes, values have their natural types, and paths "
      "are relative to the file. The command line overrides the file; styles of both are combined. "
      "An option for one output format only, such as dpi, is ignored for others here.\n\n"
      "  page = \"A3\"\n"
      "  landscape = true\n"
      "  margin = \"15mm\"\n"
      "  lines = [\"silhouette\", \"crease\"]\n"
      "  occluder = [\"table.stl\"]\n\n"
      "  [style.crease]\n"
      "  width = \"0.25mm\"\n"
      "  color = \"#333\""}}};

/// One exit code of the tool.
struct ExitCodeInfo {
    int code;
    const char* meaning;
};

inline constexpr std::array<ExitCodeInfo, 7> kExitCodes{
    {{0, "drawn"},
     {1, "internal error"},
     {2, "wrong usage"},
     {3, "a model, configuration or job file cannot be read"},
     {4, "nothing to draw: no triangles, or nothing visible in the view"},
     {5, "the drawing cannot be written"},
     {130, "cancelled by Ctrl-C"}}};

/// An example with its purpose.
struct ExampleInfo {
    const char* purpose;
    const char* command;
};

inline constexpr std::array<ExampleInfo, 3> kExamples{
    {{"An isometric drawing on A4", "kxcontour engine.glb -o engine.svg"},
     {"A front view at 1:50 on A3, as PDF",
      "kxcontour house.ifc -o front.pdf --view front --page A3 --scale 1:50"},
     {"Three views with hidden lines, one file per view",
      "kxcontour gear.stl --views front,top,iso --hidden -o 'gear-{view}.svg'"}}};

/// First words that are commands, not models.
inline const std::vector<std::string> kCommands{"batch", "help", "man", "completions"};

/// The shells that have completions.
inline const std::vector<std::string> kShells{"bash", "zsh", "fish"};

} // namespace kxcontour
