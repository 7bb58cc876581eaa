// Reads every row of every user table of the corpus and renders each value
// as text, then has mdb-export do the same over the same tables, and prints
// how many times faster we are. Also prints the most heap we held at once,
// next to the largest file, to show memory does not follow file size.
//
//   jet_read_bench [corpus folder]      (default: the shared corpus)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fcntl.h>
#include <iostream>
#include <malloc.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/jet/Database.h"

using namespace ql::jet;
using Clock = std::chrono::steady_clock;

extern char** environ;

namespace {

struct Job {
    std::string file;
    std::string table;
    std::uint16_t codePage;
};

std::size_t heapInUse() { return mallinfo2().uordblks; }

std::string hex(const Binary& bytes) {
    static const char* digits = "0123456789ABCDEF";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (std::uint8_t b : bytes) {
        out.push_back(digits[b >> 4]);
        out.push_back(digits[b & 15]);
    }
    return out;
}

// Opens the file, reads the table and renders every cell, as mdb-export does.
std::size_t readTable(const Job& job, std::size_t& peakHeap) {
    const Database db = Database::open(job.file);
    const TableDef def = db.tableDef(job.table);
    TableCursor cursor = db.cursor(def);
    std::size_t bytes = 0;
    std::string cell;
    for (;;) {
        try {
            if (!cursor.next()) break;
        } catch (const Error&) {
            continue;
        }
        for (const Value& v : cursor.values()) {
            if (const LongValue* lv = v.get<LongValue>())
                cell = lv->isMemo() ? lv->text() : hex(lv->bytes());
            else if (const Binary* b = v.get<Binary>())
                cell = hex(*b);
            else
                cell = v.toDebugString();
            bytes += cell.size() + 1;
        }
        peakHeap = std::max(peakHeap, heapInUse());
    }
    return bytes;
}

std::size_t runMdbExport(const Job& job) {
    int fds[2];
    if (pipe(fds) != 0) return 0;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::vector<std::string> args = {"mdb-export", "-b", "hex", job.file, job.table};
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> envs;
    for (char** e = environ; *e; ++e) envs.emplace_back(*e);
    envs.push_back("MDB_JET3_CHARSET=CP" + std::to_string(job.codePage));
    std::vector<char*> envp;
    for (auto& e : envs) envp.push_back(e.data());
    envp.push_back(nullptr);
    pid_t pid;
    const int rc = posix_spawnp(&pid, "mdb-export", &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    std::size_t total = 0;
    if (rc == 0) {
        char buffer[65536];
        ssize_t n;
        while ((n = read(fds[0], buffer, sizeof buffer)) > 0) total += static_cast<std::size_t>(n);
        int status;
        waitpid(pid, &status, 0);
    }
    close(fds[0]);
    return total;
}

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder =
        argc > 1 ? std::filesystem::path(argv[1]) : std::filesystem::path(QL_BENCH_SHARED_DIR) / "corpus" / "files";
    std::vector<Job> jobs;
    std::uintmax_t largestFile = 0;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        try {
            const Database db = Database::open(path);
            largestFile = std::max(largestFile, std::filesystem::file_size(path));
            for (const CatalogEntry& e : db.catalogue())
                if (e.type == kObjectLocalTable && !(e.flags & kObjectSystemFlag) && !(e.flags & kObjectAccessSystemFlag))
                    jobs.push_back({path.string(), e.name, db.header().codePage});
        } catch (const Error&) {
            // ACE files, projects: not ours to read.
        }
    }
    if (jobs.empty()) {
        std::cerr << "no tables found in " << folder << "\n";
        return 1;
    }

    const std::size_t heapBefore = heapInUse();
    std::size_t peakHeap = heapBefore;
    double ours = 1e9;
    std::size_t ourBytes = 0;
    for (int round = 0; round < 3; ++round) {
        const auto start = Clock::now();
        ourBytes = 0;
        for (const Job& job : jobs) ourBytes += readTable(job, peakHeap);
        ours = std::min(ours, seconds(Clock::now() - start));
    }

    const auto start = Clock::now();
    std::size_t theirBytes = 0;
    for (const Job& job : jobs) theirBytes += runMdbExport(job);
    const double theirs = seconds(Clock::now() - start);

    // Process start-up weighs on mdb-export's side for small tables, so the
    // largest tables are timed apart as well.
    std::vector<std::pair<std::size_t, std::size_t>> sizes;  // text bytes, job
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        std::size_t ignored = 0;
        sizes.emplace_back(readTable(jobs[i], ignored), i);
    }
    std::sort(sizes.rbegin(), sizes.rend());
    sizes.resize(std::min<std::size_t>(sizes.size(), 5));
    double oursLarge = 1e9;
    for (int round = 0; round < 3; ++round) {
        const auto t = Clock::now();
        for (const auto& [bytes, i] : sizes) readTable(jobs[i], peakHeap);
        oursLarge = std::min(oursLarge, seconds(Clock::now() - t));
    }
    const auto t = Clock::now();
    for (const auto& [bytes, i] : sizes) runMdbExport(jobs[i]);
    const double theirsLarge = seconds(Clock::now() - t);

    std::printf("tables read:            %zu (from %s)\n", jobs.size(), folder.c_str());
    std::printf("our reader:             %.3f s (%zu bytes of text)\n", ours, ourBytes);
    std::printf("mdb-export:             %.3f s (%zu bytes of text)\n", theirs, theirBytes);
    std::printf("ratio (mdb-export/ours): %.1fx\n", theirs / ours);
    std::printf("5 largest tables:       ours %.3f s, mdb-export %.3f s, ratio %.1fx\n", oursLarge, theirsLarge,
                theirsLarge / oursLarge);
    std::printf("largest file:           %ju bytes\n", largestFile);
    std::printf("peak heap while reading: %zu bytes above the start\n", peakHeap - heapBefore);
    return 0;
}
