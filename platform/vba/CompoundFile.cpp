#include "platform/vba/CompoundFile.h"

#include "platform/vba/ByteReader.h"
#include "platform/vba/VbaError.h"

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-input.h>
#include <gsf/gsf-utils.h>

#include <mutex>

#if defined(__SANITIZE_ADDRESS__)
#define QL_LEAK_CHECKER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QL_LEAK_CHECKER 1
#endif
#endif
#ifdef QL_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

namespace ql::vba {
namespace {

constexpr std::string_view kSignature{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8};
constexpr std::size_t kHeaderSize = 512;
constexpr std::size_t kSectorShiftOffset = 0x1E;

struct Unref {
    void operator()(void* object) const {
        if (object) g_object_unref(object);
    }
};
template <typename T>
using GsfRef = std::unique_ptr<T, Unref>;

void initialiseGsf() {
    static std::once_flag once;
    std::call_once(once, [] {
        gsf_init();
        // Damage is reported through our own errors, per module; libgsf's
        // warnings on stderr would only repeat it without the context.
        g_log_set_handler("libgsf:msole", static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE),
                          [](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
    });
}

}  // namespace

struct CompoundFile::Impl {
    std::string image;  // must outlive the memory input that points into it
    std::size_t maxStreamBytes = kMaxStreamBytes;
    GsfRef<GsfInput> input;
    GsfRef<GsfInfile> root;

    // The entry at path, or null. Storage names match without regard to case.
    GsfRef<GsfInput> find(const StoragePath& path) const {
        GsfRef<GsfInput> current(GSF_INPUT(g_object_ref(root.get())));
        for (const auto& name : path) {
            if (!GSF_IS_INFILE(current.get())) return nullptr;
            GsfInfile* dir = GSF_INFILE(current.get());
            const int count = gsf_infile_num_children(dir);
            GsfRef<GsfInput> next;
            for (int i = 0; i < count && !next; ++i) {
                const char* childName = gsf_infile_name_by_index(dir, i);
                if (childName && sameEntryName(childName, name)) next.reset(gsf_infile_child_by_index(dir, i));
            }
            if (!next) return nullptr;
            current = std::move(next);
        }
        return current;
    }
};

CompoundFile::CompoundFile(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
CompoundFile::~CompoundFile() = default;

std::unique_ptr<CompoundFile> CompoundFile::open(std::string image, std::size_t maxStreamBytes) {
    if (image.size() < kHeaderSize || image.compare(0, kSignature.size(), kSignature) != 0)
        throw VbaError(VbaErrorKind::Corrupt, "not a compound file: signature missing");
    const unsigned shift = detail::u16(image, kSectorShiftOffset, "sector shift");
    if (shift != 9 && shift != 12)
        throw VbaError(VbaErrorKind::Corrupt, "compound file has sector shift " + std::to_string(shift));
    const std::size_t sector = std::size_t{1} << shift;
    if (image.size() % sector != 0) image.resize((image.size() / sector + 1) * sector, '\0');

    initialiseGsf();
    auto impl = std::make_unique<Impl>();
    impl->image = std::move(image);
    impl->maxStreamBytes = maxStreamBytes;
    impl->input.reset(gsf_input_memory_new(reinterpret_cast<const guint8*>(impl->image.data()),
                                           static_cast<gsf_off_t>(impl->image.size()), FALSE));
    if (!impl->input) throw VbaError(VbaErrorKind::Corrupt, "compound file image could not be opened");
    GError* error = nullptr;
    {
#ifdef QL_LEAK_CHECKER
        // libgsf loses the directory entries it rejects in a damaged file
        // (entries that point at each other) and keeps no pointer we could
        // release; what it allocates here is its own, so the leak checker
        // leaves it out. The root it returns is ours and freed by GsfRef.
        __lsan::ScopedDisabler libraryAllocations;
#endif
        impl->root.reset(gsf_infile_msole_new(impl->input.get(), &error));
    }
    if (!impl->root) {
        std::string message = error && error->message ? error->message : "unreadable directory";
        if (error) g_error_free(error);
        throw VbaError(VbaErrorKind::Corrupt, "compound file damaged: " + message);
    }
    return std::unique_ptr<CompoundFile>(new CompoundFile(std::move(impl)));
}

std::vector<StorageEntry> CompoundFile::children(const StoragePath& path) const {
    GsfRef<GsfInput> entry = impl_->find(path);
    if (!entry || !GSF_IS_INFILE(entry.get()) || gsf_infile_num_children(GSF_INFILE(entry.get())) < 0)
        throw VbaError(VbaErrorKind::Missing, "storage " + describePath(path) + " not found");
    GsfInfile* dir = GSF_INFILE(entry.get());
    std::vector<StorageEntry> out;
    const int count = gsf_infile_num_children(dir);
    for (int i = 0; i < count; ++i) {
        GsfRef<GsfInput> child(gsf_infile_child_by_index(dir, i));
        const char* name = gsf_infile_name_by_index(dir, i);
        if (!child || !name) continue;
        const bool isStorage =
            GSF_IS_INFILE(child.get()) && gsf_infile_num_children(GSF_INFILE(child.get())) >= 0;
        out.push_back({name, isStorage});
    }
    return out;
}

std::string CompoundFile::readStream(const StoragePath& path) const {
    GsfRef<GsfInput> entry = impl_->find(path);
    if (!entry || (GSF_IS_INFILE(entry.get()) && gsf_infile_num_children(GSF_INFILE(entry.get())) >= 0))
        throw VbaError(VbaErrorKind::Missing, "stream " + describePath(path) + " not found");
    const gsf_off_t size = gsf_input_size(entry.get());
    if (size < 0 || static_cast<std::uint64_t>(size) > impl_->maxStreamBytes)
        throw VbaError(VbaErrorKind::TooLarge, "stream " + describePath(path) + " claims " + std::to_string(size) +
                                                   " bytes, more than the " + std::to_string(impl_->maxStreamBytes) +
                                                   " a stream may hold");
    std::string data(static_cast<std::size_t>(size), '\0');
    if (size > 0 && !gsf_input_read(entry.get(), static_cast<size_t>(size), reinterpret_cast<guint8*>(data.data())))
        throw VbaError(VbaErrorKind::Corrupt, "stream " + describePath(path) + " cannot be read to its end");
    return data;
}

}  // namespace ql::vba
