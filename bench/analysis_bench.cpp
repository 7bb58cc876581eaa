// The whole analysis against its peer and its floor, in one run:
//
//  1. the headless report tool over every Jet database of the corpus in one
//     process, against (a) the mdbtools commands that gather the same facts
//     (mdb-tables, mdb-count per table, mdb-schema, mdb-queries -L) and
//     (b) reading the same files from the page cache with cat;
//  2. the tool's own per-stage times (--timings), summed over the corpus;
//  3. with --scale: files of 10 MB, 100 MB and 1 GB written by jetwriter, the
//     analysis of each against cat, and how time and peak memory grow; and
//     the longest the reader goes without the progress call at which the
//     window runs its events (responsiveness_bench).
//
//   analysis_bench [--smoke] [--scale] [--sizes 10M,100M,1G,rows:10000000] [--scale-dir DIR]
//                  [--tool PATH] [--jetwriter PATH] [--corpus DIR] [--rounds N]
//
// Everything runs as child processes so that each side pays its own start-up
// and its peak resident memory can be read from wait4.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

struct Options {
    std::string tool = QL_BENCH_TOOL;
    std::string jetwriter = QL_BENCH_JETWRITER;
    std::string gap = QL_BENCH_GAP;  // responsiveness_bench; empty when not built
    fs::path corpus = fs::path(QL_BENCH_SHARED_DIR) / "corpus";
    fs::path scaleDir = fs::path(QL_BENCH_BINARY_DIR) / "bench-scale";
    std::vector<std::string> sizes = {"10M", "100M", "1G"};
    bool smoke = false;
    bool scale = false;
    int rounds = 3;
};

struct Run {
    int status = -1;      // exit status, or -1 when the program could not start or was killed
    double seconds = 0;
    long peakKb = 0;      // ru_maxrss of the child
    long peakAnonKb = 0;  // largest RssAnon seen while sampling (heap and stacks, no file pages)
    std::string out;      // captured standard output (when asked)
    std::string err;      // captured standard error (when asked)
};

std::string slurp(const fs::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// RssAnon of a running process, in KB (0 once it has gone).
long anonKb(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind("RssAnon:", 0) == 0) return std::atol(line.c_str() + 8);
    return 0;
}

// Runs argv with stdin from /dev/null; stdout and stderr go to files in `scratch`
// when captured, else to /dev/null. With `sampleAnon` the child's anonymous
// memory is read every 20 ms: ru_maxrss counts the pages of a mapped file too,
// and this tells them apart.
Run spawn(const std::vector<std::string>& args, const fs::path& scratch, bool captureOut, bool captureErr,
          bool sampleAnon = false)
{
    Run r;
    const fs::path outFile = scratch / "child.out";
    const fs::path errFile = scratch / "child.err";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, captureOut ? outFile.c_str() : "/dev/null",
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, captureErr ? errFile.c_str() : "/dev/null",
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<char*> argv;
    std::vector<std::string> copy = args;
    for (std::string& a : copy) argv.push_back(a.data());
    argv.push_back(nullptr);
    const auto start = Clock::now();
    pid_t pid = 0;
    const int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        r.err = args[0] + ": cannot start";
        return r;
    }
    int status = 0;
    rusage use{};
    for (;;) {
        const pid_t done = wait4(pid, &status, sampleAnon ? WNOHANG : 0, &use);
        if (done == pid) break;
        if (done < 0 && errno != EINTR) return r;
        if (done == 0) {
            r.peakAnonKb = std::max(r.peakAnonKb, anonKb(pid));
            usleep(20000);
        }
    }
    r.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    r.peakKb = use.ru_maxrss;
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (captureOut) r.out = slurp(outFile);
    if (captureErr) r.err = slurp(errFile);
    return r;
}

bool onPath(const std::string& program)
{
    if (program.find('/') != std::string::npos) return access(program.c_str(), X_OK) == 0;
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path ? path : "");
    std::string dir;
    while (std::getline(dirs, dir, ':'))
        if (!dir.empty() && access((fs::path(dir) / program).c_str(), X_OK) == 0) return true;
    return false;
}

std::vector<std::string> splitTabs(const std::string& line)
{
    std::vector<std::string> cells;
    std::stringstream s(line);
    std::string cell;
    while (std::getline(s, cell, '\t')) cells.push_back(cell);
    return cells;
}

// The Jet databases of the corpus, from its manifest (workgroup and ACE files left out).
std::vector<fs::path> corpusDatabases(const fs::path& corpus)
{
    std::ifstream in(corpus / "manifest.tsv");
    std::string line;
    if (!std::getline(in, line)) return {};
    const std::vector<std::string> head = splitTabs(line);
    const auto column = [&](const char* name) {
        return static_cast<std::size_t>(std::find(head.begin(), head.end(), name) - head.begin());
    };
    const std::size_t name = column("name"), engine = column("engine");
    std::vector<fs::path> files;
    while (std::getline(in, line)) {
        const std::vector<std::string> cells = splitTabs(line);
        if (name >= cells.size() || engine >= cells.size() || cells[engine] != "Standard Jet DB") continue;
        const std::string ext = fs::path(cells[name]).extension().string();
        if (ext != ".mdb" && ext != ".mde" && ext != ".mda") continue;
        if (fs::exists(corpus / "files" / cells[name])) files.push_back(corpus / "files" / cells[name]);
    }
    std::sort(files.begin(), files.end());
    return files;
}

double megabytes(std::uintmax_t bytes) { return static_cast<double>(bytes) / (1024.0 * 1024.0); }

std::uintmax_t totalSize(const std::vector<fs::path>& files)
{
    std::uintmax_t n = 0;
    for (const fs::path& f : files) n += fs::file_size(f);
    return n;
}

// cat of every file to /dev/null, best of `rounds` after one warm-up.
Run catRun(const std::vector<fs::path>& files, const fs::path& scratch, int rounds)
{
    std::vector<std::string> args = {"cat"};
    for (const fs::path& f : files) args.push_back(f.string());
    spawn(args, scratch, false, false);
    Run best;
    for (int i = 0; i < rounds; ++i) {
        Run r = spawn(args, scratch, false, false);
        if (i == 0 || r.seconds < best.seconds) best = r;
    }
    return best;
}

// The report format asked of the tool: the text report with statistics when
// the tool has it, else JSON (the tool refuses a format it lacks with status 2).
struct ToolFormat {
    std::vector<std::string> args;
    std::string label;
};

ToolFormat pickFormat(const Options& o, const fs::path& probe, const fs::path& scratch)
{
    ToolFormat text{{"--format", "text", "--stats"}, "--format text --stats"};
    std::vector<std::string> args = {o.tool};
    args.insert(args.end(), text.args.begin(), text.args.end());
    args.insert(args.end(), {"--output", (scratch / "probe.txt").string(), probe.string()});
    if (spawn(args, scratch, false, false).status != 2) return text;
    return {{"--format", "json"}, "--format json (the text report is not available yet)"};
}

// The tool over `files` in one process; statuses 0 and 1 (some database
// failed) are both a finished run.
Run toolRun(const Options& o, const ToolFormat& format, const std::vector<fs::path>& files, const fs::path& scratch,
            const fs::path& outDir)
{
    fs::remove_all(outDir);
    std::vector<std::string> args = {o.tool};
    args.insert(args.end(), format.args.begin(), format.args.end());
    // A trailing "/" makes the name a folder for the tool.
    args.insert(args.end(), {"--timings", "--output", outDir.string() + "/"});
    for (const fs::path& f : files) args.push_back(f.string());
    return spawn(args, scratch, false, true, true);
}

// The --timings tables: a "timings: DATABASE" line, then "stage  ms" lines
// until the next such line. The tool's "timings: all N databases" sum and the
// "total" lines are left out, so that nothing is counted twice; stages of the
// same name are summed over the databases.
void addTimings(const std::string& err, std::map<std::string, double>& stages, std::vector<std::string>& order)
{
    std::stringstream s(err);
    std::string line;
    bool inTable = false;
    while (std::getline(s, line)) {
        if (line.rfind("timings:", 0) == 0) {
            inTable = line.rfind("timings: all ", 0) != 0;
            continue;
        }
        if (!inTable) continue;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) line.pop_back();
        const std::size_t cut = line.find_last_of(" \t");
        if (cut == std::string::npos) continue;
        std::string number = line.substr(cut + 1);
        if (number.size() > 2 && number.compare(number.size() - 2, 2, "ms") == 0) number.resize(number.size() - 2);
        char* end = nullptr;
        const double ms = std::strtod(number.c_str(), &end);
        if (number.empty() || *end != '\0') continue;
        std::string stage = line.substr(0, cut);
        while (!stage.empty() && (stage.back() == ' ' || stage.back() == '\t' || stage.back() == ':')) stage.pop_back();
        const std::size_t lead = stage.find_first_not_of(" \t");
        if (lead == std::string::npos) continue;
        stage.erase(0, lead);
        if (stage == "total") continue;
        if (!stages.count(stage)) order.push_back(stage);
        stages[stage] += ms;
    }
}

struct PeerRun {
    double seconds = 0;
    long peakKb = 0;
    int commands = 0;
    int failures = 0;
};

// What mdbtools needs to list the same facts: tables, a count of each, the
// schema and the queries.
PeerRun mdbtoolsRun(const std::vector<fs::path>& files, const fs::path& scratch)
{
    PeerRun p;
    const auto start = Clock::now();
    auto note = [&](const Run& r) {
        ++p.commands;
        if (r.status != 0) ++p.failures;
        p.peakKb = std::max(p.peakKb, r.peakKb);
    };
    for (const fs::path& f : files) {
        const Run tables = spawn({"mdb-tables", "-1", f.string()}, scratch, true, false);
        note(tables);
        std::stringstream names(tables.out);
        std::string name;
        while (std::getline(names, name))
            if (!name.empty()) note(spawn({"mdb-count", f.string(), name}, scratch, false, false));
        note(spawn({"mdb-schema", f.string()}, scratch, false, false));
        note(spawn({"mdb-queries", "-L", f.string()}, scratch, false, false));
    }
    p.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return p;
}

void printStages(const std::map<std::string, double>& stages, const std::vector<std::string>& order, int rounds)
{
    double total = 0;
    for (const auto& [name, ms] : stages) total += ms;
    if (stages.empty()) {
        std::printf("  (the tool printed no stage times)\n");
        return;
    }
    std::vector<std::string> sorted = order;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const std::string& a, const std::string& b) { return stages.at(a) > stages.at(b); });
    for (const std::string& name : sorted) {
        const double ms = stages.at(name) / rounds;
        std::printf("  %-40s %10.1f ms %5.1f %%\n", name.c_str(), ms, total > 0 ? 100.0 * stages.at(name) / total : 0.0);
    }
}

int corpusBench(const Options& o, const fs::path& scratch)
{
    std::vector<fs::path> files = corpusDatabases(o.corpus);
    if (files.empty()) {
        std::fprintf(stderr, "analysis_bench: no Jet databases in %s\n", o.corpus.c_str());
        return 1;
    }
    if (o.smoke) {
        // The smallest file: enough to show every number is produced.
        std::sort(files.begin(), files.end(),
                  [](const fs::path& a, const fs::path& b) { return fs::file_size(a) < fs::file_size(b); });
        files.resize(1);
    }
    const ToolFormat format = pickFormat(o, files.front(), scratch);
    std::printf("corpus: %zu Jet databases, %.1f MB; tool run as %s\n", files.size(), megabytes(totalSize(files)),
                format.label.c_str());

    const Run cat = catRun(files, scratch, o.rounds);
    toolRun(o, format, files, scratch, scratch / "reports");  // warm-up: loads the program and its libraries
    Run ours;
    std::map<std::string, double> stages;
    std::vector<std::string> order;
    for (int i = 0; i < o.rounds; ++i) {
        Run r = toolRun(o, format, files, scratch, scratch / "reports");
        if (r.status != 0 && r.status != 1) {
            std::fprintf(stderr, "analysis_bench: %s ended with status %d\n%s", o.tool.c_str(), r.status, r.err.c_str());
            return 1;
        }
        addTimings(r.err, stages, order);
        if (i == 0 || r.seconds < ours.seconds) ours = r;
    }
    const PeerRun peer = mdbtoolsRun(files, scratch);

    std::printf("\nwhole analysis (best of %d)\n", o.rounds);
    std::printf("  quarrylantern-report  %9.3f s   peak RSS %7.1f MB (anonymous %.1f MB)%s\n", ours.seconds,
                ours.peakKb / 1024.0, ours.peakAnonKb / 1024.0,
                ours.status == 1 ? "   (some databases reported a failure)" : "");
    std::printf("  mdbtools pipeline     %9.3f s   peak RSS %7.1f MB   (%d commands, %d failed)\n", peer.seconds,
                peer.peakKb / 1024.0, peer.commands, peer.failures);
    std::printf("  cat from page cache   %9.3f s\n", cat.seconds);
    std::printf("  ratio mdbtools/ours   %9.1fx   (target >= 10x)\n", peer.seconds / ours.seconds);
    std::printf("  ratio ours/cat        %9.1fx   (target <= 5x)\n", ours.seconds / std::max(cat.seconds, 1e-6));
    std::printf("\nper-stage times of our run (mean per run, summed over the databases)\n");
    printStages(stages, order, o.rounds);
    // Numbers that cannot be right fail the run, so that the smoke test notices a broken side.
    if (!(ours.seconds > 0 && cat.seconds > 0 && peer.commands > peer.failures)) {
        std::fprintf(stderr, "analysis_bench: a side of the comparison did not run\n");
        return 1;
    }
    if (o.smoke && stages.empty()) {
        std::fprintf(stderr, "analysis_bench: the tool printed no --timings table\n");
        return 1;
    }
    return 0;
}

std::uintmax_t parseSize(const std::string& text)
{
    char* end = nullptr;
    const unsigned long long v = std::strtoull(text.c_str(), &end, 10);
    std::uintmax_t mult = 1;
    if (*end == 'K' || *end == 'k') mult = 1024;
    else if (*end == 'M' || *end == 'm') mult = 1024 * 1024;
    else if (*end == 'G' || *end == 'g') mult = 1024ull * 1024 * 1024;
    return v * mult;
}

int scaleBench(const Options& o, const fs::path& scratch)
{
    fs::create_directories(o.scaleDir);
    const ToolFormat format = pickFormat(o, corpusDatabases(o.corpus).front(), scratch);
    std::printf("\nscale: jetwriter files in %s; tool run as %s\n", o.scaleDir.c_str(), format.label.c_str());
    std::printf("  %8s %8s %9s %9s %7s %8s %10s %10s\n", "size MB", "write s", "ours s", "cat s", "ours/cat", "s per GB",
                "peak MB", "anon MB");
    for (const std::string& size : o.sizes) {
        std::string label = size;
        std::replace(label.begin(), label.end(), ':', '-');
        const fs::path file = o.scaleDir / ("scale-" + label + ".mdb");
        // A file from an earlier run is kept while the writer is the same build: it gives the
        // same bytes for the same options.
        double writeSeconds = 0;
        const fs::path stamp = o.scaleDir / ("scale-" + label + ".ok");
        std::error_code ec;
        const std::string writerStamp =
            size + " " + std::to_string(fs::file_size(o.jetwriter, ec)) + " " +
            std::to_string(fs::last_write_time(o.jetwriter, ec).time_since_epoch().count()) + "\n";
        if (!fs::exists(file) || slurp(stamp) != writerStamp) {
            // "rows:N": N Orders rows with light notes (10 million fill about 2.1 GB), instead of a size.
            std::vector<std::string> args = {o.jetwriter, "--out", file.string(), "--tables", "50", "--queries", "12"};
            if (size.rfind("rows:", 0) == 0) args.insert(args.end(), {"--rows", size.substr(5), "--light-memos"});
            else args.insert(args.end(), {"--size", size});
            const Run w = spawn(args, scratch, false, true);
            if (w.status != 0) {
                std::fprintf(stderr, "analysis_bench: jetwriter failed for %s\n%s", size.c_str(), w.err.c_str());
                return 1;
            }
            writeSeconds = w.seconds;
            std::ofstream(stamp) << writerStamp;
        }
        const std::uintmax_t bytes = fs::file_size(file);
        const int rounds = bytes > parseSize("200M") ? 1 : o.rounds;
        const Run cat = catRun({file}, scratch, rounds);
        Run ours;
        std::map<std::string, double> stages;
        std::vector<std::string> order;
        for (int i = 0; i < rounds; ++i) {
            Run r = toolRun(o, format, {file}, scratch, scratch / "scale-report");
            addTimings(r.err, stages, order);
            if (r.status != 0) {
                std::fprintf(stderr, "analysis_bench: the tool failed on %s (status %d)\n%s", file.c_str(), r.status,
                             r.err.c_str());
                return 1;
            }
            if (i == 0 || r.seconds < ours.seconds) ours = r;
        }
        const double mb = megabytes(bytes);
        std::printf("  %8.1f %8s %9.3f %9.3f %7.1fx %8.2f %10.1f %10.1f\n", mb,
                    writeSeconds > 0 ? std::to_string(writeSeconds).substr(0, 6).c_str() : "kept", ours.seconds,
                    cat.seconds, ours.seconds / std::max(cat.seconds, 1e-6), ours.seconds / (mb / 1024.0),
                    ours.peakKb / 1024.0, ours.peakAnonKb / 1024.0);
        // The stages that take the time at this size.
        std::stable_sort(order.begin(), order.end(),
                         [&](const std::string& a, const std::string& b) { return stages[a] > stages[b]; });
        std::string top;
        for (std::size_t i = 0; i < std::min<std::size_t>(3, order.size()); ++i) {
            char part[96];
            std::snprintf(part, sizeof part, "%s%s %.0f ms", i ? ", " : "", order[i].c_str(), stages[order[i]] / rounds);
            top += part;
        }
        std::printf("  %8s longest stages: %s\n", "", top.c_str());
        if (!o.gap.empty() && onPath(o.gap)) {
            // Its own line, from its own run: "FILE: longest N ms without a progress call, ...".
            const Run g = spawn({o.gap, file.string()}, scratch, true, false);
            const std::size_t at = g.out.find(": longest ");
            if (g.status == 0 && at != std::string::npos)
                std::printf("  %8s window: %s", "", g.out.substr(at + 2).c_str());
        }
        std::fflush(stdout);
    }
    std::printf("  (peak MB: the tool's peak resident memory, pages of the mapped file included; anon MB: the\n"
                "   most memory of its own seen, sampled every 20 ms: target <= 64 MB above the mapping at 1 GB)\n");
    return 0;
}

int usage()
{
    std::fprintf(stderr,
                 "usage: analysis_bench [--smoke] [--scale] [--sizes 10M,100M,1G,rows:N] [--scale-dir DIR]\n"
                 "                      [--tool PATH] [--jetwriter PATH] [--corpus DIR] [--rounds N]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    Options o;
    if (const char* s = std::getenv("QL_BENCH_SMOKE"); s && *s && std::string(s) != "0") o.smoke = true;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> std::optional<std::string> {
            if (i + 1 >= argc) return std::nullopt;
            return std::string(argv[++i]);
        };
        std::optional<std::string> v;
        if (a == "--smoke") o.smoke = true;
        else if (a == "--scale") o.scale = true;
        else if (a == "--tool" && (v = value())) o.tool = *v;
        else if (a == "--jetwriter" && (v = value())) o.jetwriter = *v;
        else if (a == "--corpus" && (v = value())) o.corpus = *v;
        else if (a == "--scale-dir" && (v = value())) o.scaleDir = *v;
        else if (a == "--rounds" && (v = value())) o.rounds = std::max(1, std::atoi(v->c_str()));
        else if (a == "--sizes" && (v = value())) {
            o.sizes.clear();
            std::stringstream s(*v);
            std::string size;
            while (std::getline(s, size, ','))
                if (parseSize(size) > 0 || (size.rfind("rows:", 0) == 0 && parseSize(size.substr(5)) > 0))
                    o.sizes.push_back(size);
        } else return usage();
    }
    if (o.smoke) o.rounds = 1;
    if (o.tool.empty() || !onPath(o.tool)) {
        std::fprintf(stderr, "analysis_bench: the report tool is not built (%s); build quarrylantern-report or pass --tool\n",
                     o.tool.c_str());
        return 1;
    }
    for (const char* peer : {"mdb-tables", "mdb-count", "mdb-schema", "mdb-queries", "cat"})
        if (!onPath(peer)) {
            std::fprintf(stderr, "analysis_bench: %s is not installed\n", peer);
            return 1;
        }
    char tmpl[] = "/tmp/analysis-bench-XXXXXX";
    if (!mkdtemp(tmpl)) return 1;
    const fs::path scratch = tmpl;
    int rc = corpusBench(o, scratch);
    if (rc == 0 && o.scale) {
        if (o.jetwriter.empty() || !onPath(o.jetwriter)) {
            std::fprintf(stderr, "analysis_bench: jetwriter is not built (%s)\n", o.jetwriter.c_str());
            rc = 1;
        } else {
            rc = scaleBench(o, scratch);
        }
    }
    fs::remove_all(scratch);
    return rc;
}
