#include "platform/workbook/CompoundFile.h"

#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-outfile.h>
#include <gsf/gsf-output-impl.h>
#include <gsf/gsf-output-memory.h>
#include <gsf/gsf-output.h>
#include <gsf/gsf-utils.h>

#include <memory>
#include <mutex>
#include <stdexcept>

#include "platform/files/OutputFiles.h"

namespace ql::workbook {

namespace {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using GObjectPtr = std::unique_ptr<T, Unref>;

std::string reasonOf(GsfOutput* output, const char* fallback) {
    const GError* error = output ? gsf_output_error(output) : nullptr;
    return error && error->message ? error->message : fallback;
}

void writeStreams(GsfOutput* sink, const std::vector<NamedStream>& streams,
                  const std::optional<ClassId>& rootClass);
void fillContainer(GsfOutfile* container, const std::vector<NamedStream>& streams,
                   const std::optional<ClassId>& rootClass);

}  // namespace

void writeCompoundFile(const std::string& path, const std::vector<NamedStream>& streams,
                       const std::optional<ClassId>& rootClass) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { gsf_init(); });

    // Built in memory and handed over whole, so that the file is replaced at
    // once and only through the program's one way of writing files.
    GObjectPtr<GsfOutput> sink(gsf_output_memory_new());
    if (!sink) throw std::runtime_error("cannot create the file");
    writeStreams(sink.get(), streams, rootClass);
    if (!gsf_output_is_closed(sink.get()) && !gsf_output_close(sink.get()))
        throw std::runtime_error(reasonOf(sink.get(), "cannot write the file"));
    if (const GError* error = gsf_output_error(sink.get()))
        throw std::runtime_error(error->message ? error->message : "cannot write the file");
    const guint8* bytes = gsf_output_memory_get_bytes(GSF_OUTPUT_MEMORY(sink.get()));
    const auto size = static_cast<std::size_t>(gsf_output_size(sink.get()));
    files::replaceContents(path, std::string_view(reinterpret_cast<const char*>(bytes), bytes ? size : 0));
}

namespace {
void writeStreams(GsfOutput* sink, const std::vector<NamedStream>& streams,
                  const std::optional<ClassId>& rootClass) {
    GObjectPtr<GsfOutfile> owner(gsf_outfile_msole_new(sink));
    GsfOutfile* container = owner.get();
    if (!container) throw std::runtime_error("cannot start the compound file");
    try {
        fillContainer(container, streams, rootClass);
    } catch (...) {
        // Marked so that nothing half-written is ever handed over.
        gsf_output_set_error(sink, 0, "abandoned");
        throw;
    }
}

void fillContainer(GsfOutfile* container, const std::vector<NamedStream>& streams,
                   const std::optional<ClassId>& rootClass) {
    if (rootClass)
        gsf_outfile_msole_set_class_id(GSF_OUTFILE_MSOLE(container), rootClass->data());

    for (const NamedStream& stream : streams) {
        GObjectPtr<GsfOutput> child(gsf_outfile_new_child(container, stream.name.c_str(), FALSE));
        if (!child) throw std::runtime_error("cannot add the stream " + stream.name);
        if (!gsf_output_write(child.get(), stream.bytes.size(),
                              reinterpret_cast<const guint8*>(stream.bytes.data())))
            throw std::runtime_error(reasonOf(child.get(), "cannot write the stream"));
        if (!gsf_output_close(child.get()))
            throw std::runtime_error(reasonOf(child.get(), "cannot write the stream"));
    }
    // Closing the container writes its directory and sectors into the sink.
    if (!gsf_output_close(GSF_OUTPUT(container)))
        throw std::runtime_error(reasonOf(GSF_OUTPUT(container), "cannot write the file"));
}
}  // namespace

}  // namespace ql::workbook
