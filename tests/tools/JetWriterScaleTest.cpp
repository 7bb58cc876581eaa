// Streaming: the writer's memory must not grow with the row count.
#include "tests/support/MdbTools.h"
#include "tests/support/TempFolder.h"
#include "tools/jetwriter/Generator.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ql::jetwriter::test {
namespace {

// Peak resident memory (KB) of a child process that generates `rows` Orders rows.
long peakKbWriting(const std::string& path, std::uint64_t rows)
{
    const pid_t pid = fork();
    if (pid == 0) {
        GeneratorOptions o;
        o.out = path;
        o.rows = rows;
        o.tables = 2;
        try {
            generate(o);
        } catch (...) {
            _exit(1);
        }
        _exit(0);
    }
    int status = 0;
    rusage use{};
    wait4(pid, &status, 0, &use);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1;
    return use.ru_maxrss;
}

TEST(JetWriterScale, MemoryStaysFlatFromTenThousandToThreeHundredThousandRows)
{
    ql::test::TempFolder dir;
    const long small = peakKbWriting((dir / "small.mdb").string(), 10000);
    const long large = peakKbWriting((dir / "large.mdb").string(), 300000);
    ASSERT_GT(small, 0);
    ASSERT_GT(large, 0);
    // The page maps grow by a bit per page and the Customers key list by one entry per leaf;
    // everything else is per row and released.
    EXPECT_LT(large - small, 4 * 1024) << "peak KB: " << small << " vs " << large;
    if (ql::test::mdbtoolsInstalled()) {
        EXPECT_EQ("300000\n", ql::test::runProgram({"mdb-count", (dir / "large.mdb").string(), "Orders"}).out);
    }
}

} // namespace
} // namespace ql::jetwriter::test
