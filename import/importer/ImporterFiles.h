// The importer's view of the files of a model.
#pragma once

#include "import/files/ModelFiles.h"

#include <assimp/IOSystem.hpp>

namespace kxcontour {

/// The part of the file system that an importer can access: files that ModelFiles opens, for
/// reading.
class ImporterFiles : public Assimp::IOSystem {
public:
    /// The files have to outlive this.
    explicit ImporterFiles(ModelFiles& files) : files_(files) {}

    bool Exists(const char* path) const override;
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char* path, const char* mode) override;
    void Close(Assimp::IOStream* stream) override;

private:
    ModelFiles& files_;
};

} // namespace kxcontour
