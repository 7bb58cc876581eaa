// Opening a file that is already open hands out the state read the first
// time, as long as the file is the same; everything a caller sees of an open
// stays its own.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/dao/Dao.h"
#include "platform/jet/Database.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace ql::jet {
namespace {

namespace fs = std::filesystem;

std::string catalogueNames(const Database& db) {
    std::string names;
    for (const CatalogEntry& e : db.catalogue()) names += e.name + "\n";
    return names;
}

int errorOf(const std::function<void()>& open) {
    try {
        open();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

TEST(OpenCache, TheSameUnchangedFileSharesItsStateAndAChangedOneIsReadAgain) {
    const test::TempFolder folder;
    const fs::path path = folder / "db.mdb";
    fs::copy_file(test::corpusFile("j4_northwind2000.mdb"), path);
    const Database first = Database::open(path);
    EXPECT_EQ(&Database::open(path).catalogue(), &first.catalogue());
    // Another text encoding is another reading of the same bytes.
    EXPECT_NE(&Database::open(path, OpenOptions{1251}).catalogue(), &first.catalogue());

    // Replaced under the same name: a new file.
    const fs::path next = folder / "next.mdb";
    fs::copy_file(test::corpusFile("j4_rentals2000.mdb"), next);
    fs::rename(next, path);
    const Database replaced = Database::open(path);
    EXPECT_EQ(catalogueNames(replaced), catalogueNames(Database::open(test::corpusFile("j4_rentals2000.mdb"))));

    // Written over in place, same size, same inode: only the time differs.
    const auto written = fs::last_write_time(path);
    fs::copy_file(test::corpusFile("j4_rentals2000.mdb"), path, fs::copy_options::overwrite_existing);
    fs::last_write_time(path, written + std::chrono::seconds(2));
    EXPECT_NE(&Database::open(path).catalogue(), &replaced.catalogue());

    // Gone: this open fails, whatever is still open.
    fs::remove(path);
    try {
        Database::open(path);
        ADD_FAILURE() << "opened a removed file";
    } catch (const Error& e) {
        EXPECT_EQ(e.kind(), ErrorKind::FileMissing);
    }
}

// What DAO checks at each open is still checked at each open, and each open
// is a database of its own.
TEST(OpenCache, EachOpenDatabaseKeepsItsOwnChecksAndItsOwnObject) {
    const std::string file = test::corpusFile("j4_pwd2003.mdb").string();
    dao::DBEngine engine;
    dao::Database right = engine.OpenDatabase(file, false, true, ";PWD=password");
    EXPECT_EQ(errorOf([&] { engine.OpenDatabase(file, false, true, ";PWD=wrong"); }), dao::errors::BadPassword);

    dao::Database second = engine.OpenDatabase(file, false, true, ";PWD=password");
    const int tables = second.TableDefs().Count();
    right.Close();
    EXPECT_EQ(errorOf([&] { (void)right.TableDefs(); }), dao::errors::ObjectClosed);
    EXPECT_EQ(second.TableDefs().Count(), tables);
}

}  // namespace
}  // namespace ql::jet
