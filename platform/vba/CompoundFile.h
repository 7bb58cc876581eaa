#pragma once
// A compound file (the OLE2 structured storage format) held in memory, read
// with libgsf.
#include "platform/vba/Storage.h"
#include "platform/vba/VbaError.h"

#include <memory>
#include <string>

namespace ql::vba {

class CompoundFile final : public Storage {
public:
    // Takes the whole image. A final sector cut short is padded with zeros
    // (images rebuilt from table rows can be a few bytes short). Throws
    // VbaError(Corrupt) when the image is not a compound file libgsf can read.
    // A stream larger than maxStreamBytes fails with TooLarge when read.
    static std::unique_ptr<CompoundFile> open(std::string image, std::size_t maxStreamBytes = kMaxStreamBytes);
    ~CompoundFile() override;

    std::vector<StorageEntry> children(const StoragePath& path) const override;
    std::string readStream(const StoragePath& path) const override;

private:
    struct Impl;
    explicit CompoundFile(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace ql::vba
