// What earlier runs of a batch have finished.
#pragma once

#include "drawing/files/Descriptor.h"
#include "options/CommandLine.h"

#include <map>
#include <mutex>
#include <string>

namespace kxcontour {

/// A file of notes, one for each drawing: the options it was made with, and the sizes and times of
/// its models and of itself. Of a model that is more than one file, only the one that was named
/// counts. Without a path nothing is ever done. Any thread may call.
///
/// The first note of a run replaces the file, whole, by a new one with all notes; further ones are
/// appended to it, one write each. So a run that is killed loses the notes of the drawings that it
/// was at, and no more.
class DoneWork {
public:
    /// Reads the notes. A file that is missing or makes no sense holds none. Throws Failure
    /// (CannotWrite) when they could not be written to the path.
    explicit DoneWork(std::string path);
    DoneWork(const DoneWork&) = delete;
    DoneWork& operator=(const DoneWork&) = delete;

    /// Whether there are notes on anything.
    bool isEmpty() const;

    /// The sizes and times of all models as text. Taken before these are read, it tells later
    /// whether a model has changed since, even while it was being drawn.
    static std::string InputsOf(const InputOptions& input);

    /// Whether a job's drawing is what the job would make now.
    bool covers(const BatchJob& job) const;

    /// Notes that a job is finished, made from what InputsOf() said before its models were read.
    /// A drawing that is gone already is not noted. Throws Failure (CannotWrite); the file then
    /// holds the notes of before.
    void note(const BatchJob& job, const std::string& inputs);

private:
    void read();
    void replaceFile();

    std::string path_;
    mutable std::mutex mutex_;
    std::map<std::string, std::string> notes_; ///< By output.
    Descriptor file_; ///< Where further notes go; none before the first one of this run.
};

} // namespace kxcontour
