// jetwriter: writes a synthetic Jet 4 database for tests and benchmarks.
#include "tools/jetwriter/Generator.h"

#include <chrono>
#include <cstdio>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

const char kUsage[] =
    "usage: jetwriter --out FILE [options]\n"
    "  --rows N            rows of the large table Orders (default 1000)\n"
    "  --size N[K|M|G]     instead of --rows: add Orders rows until the file has this size\n"
    "  --tables N          tables in all, Orders and Customers included (default 5, at least 2)\n"
    "  --queries N         saved queries (default 4)\n"
    "  --wide N            add a table \"Wide\" with N columns (at most 255)\n"
    "  --light-memos       fewer, shorter Notes (about 210 bytes a row: 10 million rows ~ 2.1 GB)\n"
    "  --no-relationships  leave out the Customers-Orders relationship\n"
    "  --seed N            seed of the generated values (default 1); same seed, same file\n"
    "  --inline-map N      bitmap bytes of an inline usage map (default 64)\n";

std::uint64_t number(const char* opt, const char* text)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(text, &end, 10);
    std::uint64_t mult = 1;
    if (end && *end) {
        switch (*end) {
        case 'K': case 'k': mult = 1024; break;
        case 'M': case 'm': mult = 1024 * 1024; break;
        case 'G': case 'g': mult = 1024ull * 1024 * 1024; break;
        default: mult = 0;
        }
        if (end[1] != '\0') mult = 0;
    }
    if (errno || end == text || mult == 0) throw std::invalid_argument(std::string("bad value for ") + opt + ": " + text);
    return v * mult;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace ql::jetwriter;
    GeneratorOptions o;
    try {
        for (int i = 1; i < argc; ++i) {
            const std::string a = argv[i];
            auto value = [&]() -> const char* {
                if (i + 1 >= argc) throw std::invalid_argument(a + " needs a value");
                return argv[++i];
            };
            if (a == "--out") o.out = value();
            else if (a == "--rows") o.rows = number("--rows", value());
            else if (a == "--size") o.targetBytes = number("--size", value());
            else if (a == "--tables") o.tables = static_cast<std::uint32_t>(number("--tables", value()));
            else if (a == "--queries") o.queries = static_cast<std::uint32_t>(number("--queries", value()));
            else if (a == "--wide") o.wideColumns = static_cast<std::uint32_t>(number("--wide", value()));
            else if (a == "--light-memos") o.lightMemos = true;
            else if (a == "--no-relationships") o.relationships = false;
            else if (a == "--seed") o.seed = number("--seed", value());
            else if (a == "--inline-map") o.database.inlineMapBytes = static_cast<std::uint32_t>(number("--inline-map", value()));
            else if (a == "--help" || a == "-h") { std::fputs(kUsage, stdout); return 0; }
            else throw std::invalid_argument("unknown option " + a);
        }
        if (o.out.empty()) throw std::invalid_argument("--out is required");
        if (o.wideColumns > 255) throw std::invalid_argument("--wide allows at most 255 columns");
        if (o.tables > 100000) throw std::invalid_argument("--tables allows at most 100000");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "jetwriter: %s\n%s", e.what(), kUsage);
        return 2;
    }
    try {
        const auto t0 = std::chrono::steady_clock::now();
        const GeneratorReport r = generate(o);
        const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        std::printf("%s: %llu bytes, %u tables, Orders %llu rows, Customers %llu rows, %.2f s\n", o.out.c_str(),
                    static_cast<unsigned long long>(r.bytes), r.tables, static_cast<unsigned long long>(r.orderRows),
                    static_cast<unsigned long long>(r.customerRows), secs);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "jetwriter: %s\n", e.what());
        return 1;
    }
    return 0;
}
