// Open-time errors with files made for them, collections, recordsets over
// the program's statements, query field counts, properties and name order.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "platform/dao/Dao.h"
#include "platform/vb/VbText.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace {

using namespace ql::dao;
namespace vb = ql::vb;
using ql::test::corpusFile;
namespace fs = std::filesystem;

using TempDir = ql::test::TempFolder;

// The first `bytes` of a corpus file, as a file of its own.
fs::path prefix(const TempDir& dir, const std::string& name, const std::string& file, std::size_t bytes) {
    return dir.write(name, ql::test::readFile(corpusFile(file)).substr(0, bytes));
}

// The number an action raises; 0 when it raises nothing.
template <class F>
int raised(F&& action) {
    try {
        action();
    } catch (const ql::RuntimeError& e) {
        return e.number();
    }
    return 0;
}

int openError(const std::string& path, const std::string& systemDb = {}, const std::string& connect = {}) {
    return raised([&] {
        DBEngine engine;
        engine.SystemDB = systemDb;
        engine.OpenDatabase(path, false, true, connect);
    });
}

// Each way an open fails, by its error number; the texts are the engine's own
// and are checked from outside.
TEST(OpenDatabase, EachFailureHasItsNumber) {
    TempDir dir;
    std::ofstream(dir / "text.mdb") << "plain text, no database here\n";
    fs::create_directories(dir / "folder.mdb");  // there, but not a file that can be read
    const std::string db = corpusFile("j3_afr.mdb").string();
    const std::string pwd = corpusFile("j4_pwd2003.mdb").string();
    struct Case {
        std::string path, systemDb, connect;
        int number;
    };
    std::vector<Case> cases = {
        {(dir / "none.mdb").string(), "", "", 3024},
        {(dir / "nofolder" / "x.mdb").string(), "", "", 3044},
        {corpusFile("ace_pcinventory.accdb").string(), "", "", 3343},
        {corpusFile("neg_northwindcs.adp").string(), "", "", 3343},
        {corpusFile("j4_stock.mdw").string(), "", "", 3343},  // a workgroup file is not a database
        {(dir / "text.mdb").string(), "", "", 3343},
        {(dir / "folder.mdb").string(), "", "", 3051},
        {pwd, "", "", 3031},
        {pwd, "", ";PWD=wrong", 3031},
        {pwd, "", ";pwd=password", 0},
        {db, (dir / "none.mdw").string(), "", 3028},
        {db, db, "", 3028},  // a database, not a workgroup
        {db, prefix(dir, "cut.mdw", "j4_stock.mdw", 5000).string(), "", 3028},
        // Admin has a password in these two; blank in the others.
        {db, corpusFile("j3_icorr.mdw").string(), "", 3029},
        {db, corpusFile("j4_gm_uz_security.mdw").string(), "", 3029},
        {db, corpusFile("j4_miet_ru.mdw").string(), "", 0},
        // The workgroup is checked before the database is looked for.
        {(dir / "none.mdb").string(), (dir / "none.mdw").string(), "", 3028},
    };
    for (std::size_t size : {std::size_t{600}, std::size_t{4096 + 100}, std::size_t{3 * 4096}})
        cases.push_back({prefix(dir, "cut" + std::to_string(size) + ".mdb", "j4_northwind2000.mdb", size).string(),
                         "", "", 3049});
    for (const Case& c : cases) EXPECT_EQ(openError(c.path, c.systemDb, c.connect), c.number) << c.path;

    if (geteuid() != 0) {  // root reads every file
        const fs::path locked = dir / "locked.mdb";
        fs::copy_file(corpusFile("j3_afr.mdb"), locked);
        fs::permissions(locked, fs::perms::none);
        EXPECT_EQ(openError(locked.string()), 3051);
    }
}

class Northwind : public testing::Test {
protected:
    static void SetUpTestSuite() {
        DBEngine engine;
        db_ = new Database(engine.OpenDatabase(corpusFile("j3_nwind_krystek.mdb").string()));
    }
    static void TearDownTestSuite() { delete db_; }
    static Database* db_;
};
Database* Northwind::db_ = nullptr;

TEST_F(Northwind, CollectionsByNameAndPosition) {
    const auto& tables = db_->TableDefs();
    EXPECT_EQ(tables["order details"].Name(), "Order Details");
    EXPECT_EQ(tables[tables.Count() - 1].Name(), tables.Item(tables.Count() - 1).Name());
    EXPECT_EQ(raised([&] { tables["No Such Table"]; }), 3265);
    EXPECT_EQ(raised([&] { tables[tables.Count()]; }), 3265);
    EXPECT_EQ(raised([&] { tables[-1]; }), 3265);

    // Containers and documents in Jet's name order; system tables among tables.
    std::vector<std::string> containers;
    for (const auto& c : db_->Containers()) containers.push_back(c.Name());
    EXPECT_EQ(containers, (std::vector<std::string>{"Databases", "Forms", "Modules", "Relationships", "Reports",
                                                    "Scripts", "SysRel", "Tables"}));
    EXPECT_TRUE(tables.Contains("MSysObjects"));
    for (int i = 1; i < tables.Count(); ++i)
        EXPECT_LT(compareNames(tables[i - 1].Name(), tables[i].Name(), true), 0) << tables[i].Name();
    // Admin's own grant on the Tables container of an unsecured file.
    EXPECT_NE(db_->Containers()["Tables"].Permissions() & 0x40000, 0);
}

TEST_F(Northwind, FieldsAndIndexes) {
    const TableDef& products = db_->TableDefs()["Products"];
    const Field& name = products.Fields()["ProductName"];
    EXPECT_EQ(name.Type(), field_type::Text);
    EXPECT_EQ(name.Size(), 40);
    EXPECT_EQ(products.Fields()["ProductID"].Type(), field_type::Long);
    EXPECT_EQ(products.Fields()["UnitPrice"].Size(), 8);
    EXPECT_EQ(db_->TableDefs()["Employees"].Fields()["Notes"].Size(), 0);  // memo
    const Index& primary = products.Indexes()["PrimaryKey"];
    EXPECT_TRUE(primary.Primary());
    EXPECT_TRUE(primary.Unique());
    EXPECT_EQ(primary.Fields()[0].Name(), "ProductID");
    EXPECT_TRUE(products.Indexes()["CategoriesProducts"].Foreign());
    // The referenced side's hidden index is not listed.
    for (const auto& index : db_->TableDefs()["Categories"].Indexes()) EXPECT_NE(index.Name().rfind(".r", 0), 0u);
    EXPECT_EQ(products.RecordCount(), 77);
}

TEST_F(Northwind, QueryFieldCounts) {
    const auto& queries = db_->QueryDefs();
    // Three row headings (ProductName, CustomerID, OrderYear), then one
    // column per heading of the fixed PIVOT list "Qtr 1" .. "Qtr 4".
    EXPECT_EQ(queries["Quarterly Orders by Product"].FieldsCount(), 7);
    // "Invoices" lists its columns; "Catalog" reads * of other sources.
    for (const auto& q : queries) EXPECT_GT(q.FieldsCount(), 0) << q.Name();
}

TEST_F(Northwind, TheProgramsStatements) {
    Recordset objects = db_->OpenRecordset("Select * from MsysObjects order by Name");
    std::string previous;
    int rows = 0;
    for (; !objects.isEOF(); objects.MoveNext(), ++rows) {
        const std::string name = vb::CStr(objects.Value("NAME"));
        if (rows > 0) {
            EXPECT_LE(compareNames(previous, name, true), 0) << previous << " / " << name;
        }
        previous = name;
    }
    EXPECT_GT(rows, 100);
    EXPECT_EQ(raised([&] { objects.MoveNext(); }), 3021);
    objects.MoveFirst();
    EXPECT_FALSE(objects.isEOF());

    Recordset pairs = db_->OpenRecordset(
        "SELECT DISTINCT szObject, szReferencedObject, szRelationship  From msysrelationships order BY szObject, "
        "szReferencedObject;");
    ASSERT_FALSE(pairs.isEOF());
    EXPECT_EQ(pairs.FieldsCount(), 3);
    const std::string object = vb::CStr(pairs.Value(0)), referenced = vb::CStr(pairs.Value(1));
    Recordset columns = db_->OpenRecordset("SELECT * FROM MSysRelationships WHERE szObject = '" + object +
                                           "' and szReferencedObject = '" + referenced + "'");
    ASSERT_FALSE(columns.isEOF());
    for (; !columns.isEOF(); columns.MoveNext()) EXPECT_EQ(vb::CStr(columns.Value("szObject")), object);

    // DISTINCT keeps one of each, in order.
    Recordset targets = db_->OpenRecordset("Select distinct szObject from MSysRelationships");
    std::vector<std::string> seen;
    for (; !targets.isEOF(); targets.MoveNext()) seen.push_back(vb::CStr(targets.Value(0)));
    EXPECT_EQ(seen, (std::vector<std::string>{"Order Details", "Orders", "Products"}));

    Recordset all = db_->OpenRecordset("Select * from [Order Details]");
    EXPECT_EQ(all.RecordCount(), 2155u);
    EXPECT_EQ(all.FieldName(0), "OrderID");
}

TEST_F(Northwind, AWholeTableKnowsItsFieldsBeforeItsRows) {
    // Opened for its field list alone, as the tables grid opens every table.
    Recordset all = db_->OpenRecordset("Select * from [Order Details]");
    EXPECT_FALSE(all.rowsRead());
    const auto& defined = db_->TableDefs()["Order Details"].Fields();
    ASSERT_EQ(all.Fields().Count(), defined.Count());
    for (int i = 0; i < defined.Count(); ++i) {
        EXPECT_EQ(all.Fields()[i].Name(), defined[i].Name());
        EXPECT_EQ(all.Fields()[i].Type(), defined[i].Type());
        EXPECT_EQ(all.Fields()[i].Size(), defined[i].Size());
    }
    EXPECT_FALSE(all.rowsRead());
    EXPECT_FALSE(all.isEOF());
    EXPECT_TRUE(all.rowsRead());
    EXPECT_EQ(vb::CStr(all.Value("OrderID")), "10248");

    // Anything with a clause reads at once; its fields keep their source's
    // type and size, a count is a Long.
    Recordset pairs = db_->OpenRecordset("Select distinct szObject as Child, szRelationship from MSysRelationships ");
    EXPECT_TRUE(pairs.rowsRead());
    EXPECT_EQ(pairs.Fields()["Child"].Type(), field_type::Text);
    EXPECT_EQ(pairs.Fields()["Child"].Size(),
              db_->TableDefs()["MSysRelationships"].Fields()["szObject"].Size());
    Recordset count = db_->OpenRecordset("Select count(*) as Recs from [Orders]");
    EXPECT_EQ(count.Fields()["Recs"].Type(), field_type::Long);
    EXPECT_EQ(count.Fields()["Recs"].Size(), 4);
}

TEST(Recordset, RowsReadLateFailWhereTheyAreRead) {
    DBEngine engine;
    Database db = engine.OpenDatabase(corpusFile("j3_nwind_krystek.mdb").string());
    Recordset products = db.OpenRecordset("Select * from Products");
    db.Close();
    EXPECT_EQ(products.FieldsCount(), 10);
    EXPECT_EQ(raised([&] { (void)products.isEOF(); }), 3420);
}

TEST_F(Northwind, StatementErrors) {
    const std::vector<std::pair<std::string, int>> cases = {
        {"Select * from [No Such]", 3078}, {"Select * from", 3131},
        {"Select * from a b c", 3131},     {"Delete from Products", 3129},
        {"Select * from Products where ProductID > 3", 3075}, {"Select a b from Products", 3075},
    };
    for (const auto& [statement, number] : cases)
        EXPECT_EQ(raised([&] { db_->OpenRecordset(statement); }), number) << statement;
}

TEST(Collation, JetNameOrder) {
    // Jet 4: apostrophe and hyphen count only when all else ties.
    const std::vector<std::string> jet4 = {"_x", "~sq_f", "1abc", "a c", "a$c", "a.c", "a_c", "a~c",
                                           "a+c", "a1",   "ab",   "abc", "aC",  "a'c", "a-c"};
    for (std::size_t i = 1; i < jet4.size(); ++i)
        EXPECT_LT(compareNames(jet4[i - 1], jet4[i], false), 0) << jet4[i - 1] << " < " << jet4[i];
    // Jet 3: plain punctuation order, apostrophe included.
    EXPECT_LT(compareNames("B's Beverages", "Berglunds", true), 0);
    EXPECT_GT(compareNames("B's Beverages", "Berglunds", false), 0);
    EXPECT_EQ(compareNames("MSysACEs", "msysaces", false), 0);
    EXPECT_LT(compareNames("MSysAccessObjects", "MSysACEs", false), 0);
    EXPECT_LT(compareNames("école", "ecole2", false), 0);  // accents sort with their letter
}

// One query of each kind (their types are checked against the manifest over
// the corpus). Table1..3 have three columns each and no rows, so the
// crosstab's PIVOT adds no column to its three row headings.
// The crosstab's headings come from the data, so it is compiled and run;
// its saved WHERE holds an aggregate, which Jet refuses when it compiles.
TEST(QueryDefFields, EveryKindOfQuery) {
    const std::map<std::string, int> expected = {
        {"SelectQuery", 6}, {"DeleteQuery", 0}, {"UpdateQuery", 0}, {"AppendQuery", 0}, {"MakeTableQuery", 0},
        {"DataDefinitionQuery", 0}, {"PassthroughQuery", 0}, {"UnionQuery", 2},
    };
    for (const char* file : {"j3_querytest.mdb", "j4_querytest2003.mdb"}) {
        DBEngine engine;
        const Database db = engine.OpenDatabase(corpusFile(file).string());
        for (const auto& [name, count] : expected)
            EXPECT_EQ(db.QueryDefs()[name].FieldsCount(), count) << file << " " << name;
        try {
            db.QueryDefs()["CrosstabQuery"].FieldsCount();
            ADD_FAILURE() << file;
        } catch (const ql::RuntimeError& e) {
            EXPECT_EQ(e.number(), 3096);
            EXPECT_EQ(e.description().rfind("Cannot have aggregate function in WHERE clause (((([Table1].[col1])>", 0), 0u);
        }
    }
}

// A crosstab without fixed headings has a column for each distinct value its
// data gives: 2 row headings and the 4 posts of the 15 employees.
TEST(QueryDefFields, ACrosstabCountsTheHeadingsItsDataGives) {
    DBEngine engine;
    const Database db = engine.OpenDatabase(corpusFile("j4_babnach_ru.mdb").string());
    EXPECT_EQ(db.QueryDefs()["сотруднки_перекрестный"].FieldsCount(), 6);
}

}  // namespace
