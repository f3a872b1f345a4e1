// The state file of a batch: jobs that earlier runs have finished.
#pragma once

#include "drawing/files/Descriptor.h"
#include "tool/options/CommandLine.h"

#include <map>
#include <string>

namespace kxcontour {

/// A file of notes, one per drawing: the options that it was made with, and the sizes and times of
/// its models and of itself. Of a model that consists of several files, only the named one counts.
/// Without a path, no job ever counts as finished.
///
/// The first note of a run replaces the file by a new one with all notes; further notes are
/// appended to it, one write each. A run that is killed loses only the notes on the drawings in
/// progress.
class FinishedJobs {
public:
    /// Reads the notes. A missing or malformed file holds none. Throws CannotWrite when they could
    /// not be written to the path.
    explicit FinishedJobs(std::string path);
    FinishedJobs(const FinishedJobs&) = delete;
    FinishedJobs& operator=(const FinishedJobs&) = delete;

    /// Whether there are no notes.
    bool isEmpty() const { return notes_.empty(); }

    /// The sizes and times of all models as text. Taken before the models are read, so that a
    /// change while they are drawn is noticed by the next run.
    static std::string InputsOf(const InputOptions& input);

    /// Whether the job would produce the existing drawing again.
    bool covers(const BatchJob& job) const;

    /// Notes that a job is finished, with the InputsOf() from before its models were read. Does
    /// nothing where the drawing no longer exists. Throws CannotWrite; the file then
    /// holds the notes of before.
    void note(const BatchJob& job, const std::string& inputs);

private:
    void read();
    void replaceFile();

    std::string path_;
    std::map<std::string, std::string> notes_; ///< By output.
    Descriptor file_; ///< For appending; none before the first note of this run.
};

} // namespace kxcontour
