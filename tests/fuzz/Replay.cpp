// Runs one fuzz target over every input kept in its regressions folder, so
// that each finding stays checked by the ordinary (gcc) build. A crash or an
// escaped exception fails the test; the sanitizer build catches the rest.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(FuzzReplay, QL_FUZZ_TARGET_NAME)
{
    const std::filesystem::path folder = QL_FUZZ_REGRESSIONS;
    ASSERT_TRUE(std::filesystem::is_directory(folder)) << folder;
    std::vector<std::filesystem::path> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file() && entry.path().filename().string()[0] != '.')
            inputs.push_back(entry.path());
    std::sort(inputs.begin(), inputs.end());
    // An empty folder would make this test pass without running anything.
    ASSERT_FALSE(inputs.empty()) << "no inputs in " << folder;
    for (const auto& path : inputs) {
        SCOPED_TRACE(path.filename().string());
        std::ifstream in(path, std::ios::binary);
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
        // Run each twice: state kept between calls (caches, statics) must
        // not change the outcome of the next input.
        EXPECT_NO_THROW(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()));
        EXPECT_NO_THROW(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()));
    }
}
