// The VBA projects of the real files of the corpus, read through our own Jet
// reader. (MdbCrossCheckTest compares the rows it gives with mdbtools'.)
#include "platform/vba/AccessObjectsImage.h"
#include "platform/vba/Automation.h"
#include "platform/vba/CompoundFile.h"
#include "platform/vba/VbaProject.h"
#include "tests/platform/vba/CorpusTables.h"
#include "tests/support/Corpus.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace ql::vba {
namespace {

std::vector<std::string> containerModules(const std::string& file) {
    const auto json = ql::test::readFile(ql::test::corpusDir() / "details" / (file + ".json"));
    const auto objects = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object()["objects"].toObject();
    std::vector<std::string> names;
    for (const auto& value : objects["modules"].toArray()) names.push_back(value.toString().toStdString());
    return names;
}

using test::projectOf;
using test::tablesOf;

bool isCompiledOnly(const std::string& file) { return file.size() > 4 && file.substr(file.size() - 4) == ".mde"; }

// The Jet databases whose Modules container lists documents.
std::vector<std::string> filesWithModules() {
    std::vector<std::string> out;
    for (const auto& file : ql::test::jetDatabases())
        if (!containerModules(file).empty()) out.push_back(file);
    return out;
}

TEST(VbaCorpus, EveryContainerModuleHasItsSourceDecodedAndCounted) {
    int modulesRead = 0;
    for (const auto& file : filesWithModules()) {
        if (isCompiledOnly(file)) continue;
        SCOPED_TRACE(file);
        const VbaProject project = projectOf(file);
        ASSERT_TRUE(project.projectError().empty()) << project.projectError();
        for (const auto& name : containerModules(file)) {
            SCOPED_TRACE(name);
            const ProjectModule* module = project.find(name);
            ASSERT_NE(module, nullptr);
            EXPECT_EQ(module->name, name);
            ASSERT_TRUE(module->source) << module->error;
            const ModuleSource& source = *module->source;
            EXPECT_EQ(source.storedText().rfind("Attribute VB_Name = \"" + name + "\"\r\n", 0), 0u);
            EXPECT_FALSE(source.hasUndecodableBytes());
            EXPECT_GT(source.countOfLines(), 0);
            EXPECT_LT(source.countOfLines(), 65536);
            for (const auto& line : source.visibleLines()) EXPECT_NE(line.rfind("Attribute VB_", 0), 0u) << line;
            ++modulesRead;
        }
        // Form and report modules are outside the container but must read too.
        for (const auto& module : project.modules()) EXPECT_TRUE(module.source) << module.error;
    }
    std::printf("container modules read: %d\n", modulesRead);
    EXPECT_EQ(modulesRead, 39);
}

// In Access 97 files a standalone class module has the standard modules' row
// type; its kind comes from its text.
TEST(VbaCorpus, Access97ClassModuleIsADocumentModule) {
    const VbaProject project = projectOf("j3_rentals.mdb");
    ASSERT_NE(project.find("clsAutoServ"), nullptr);
    EXPECT_EQ(project.find("clsAutoServ")->kind, ModuleKind::Document);
    EXPECT_EQ(project.find("convert")->kind, ModuleKind::Procedural);
}

TEST(VbaCorpus, CompiledOnlyDatabaseKeepsNamesButHasNoSource) {
    const VbaProject mdb = projectOf("j4_database41.mdb");
    const VbaProject mde = projectOf("j4_database41.mde");
    EXPECT_FALSE(mdb.compiledOnly());
    EXPECT_TRUE(mde.compiledOnly());
    for (const auto& name : containerModules("j4_database41.mde")) {
        ASSERT_NE(mde.find(name), nullptr) << name;
        EXPECT_EQ(mdb.source(name).countOfLines(), 2);
        try {
            mde.source(name);
            ADD_FAILURE() << "compiled-only module gave source";
        } catch (const VbaError& error) {
            EXPECT_EQ(error.kind(), VbaErrorKind::CompiledOnly);
        }
    }
    EXPECT_EQ(containerModules("j4_database41.mde"), containerModules("j4_database41.mdb"));
}

// The same application saved by Access 97 and by Access 2000/2003.
TEST(VbaCorpus, SameApplicationInTwoLayoutsGivesTheSameLines) {
    const std::pair<const char*, const char*> pairs[] = {{"j3_rentals.mdb", "j4_rentals2000.mdb"},
                                                         {"j3_afr.mdb", "j4_form_resizer.mdb"}};
    for (const auto& [older, newer] : pairs) {
        SCOPED_TRACE(std::string(older) + " / " + newer);
        const VbaProject a = projectOf(older);
        const VbaProject b = projectOf(newer);
        EXPECT_EQ(a.layout(), ProjectLayout::Modules2);
        EXPECT_NE(b.layout(), ProjectLayout::Modules2);
        int compared = 0;
        for (const auto& module : b.modules()) {
            const ProjectModule* other = a.find(module.name);
            if (!other) continue;
            ASSERT_TRUE(module.source && other->source);
            EXPECT_EQ(module.source->visibleLines(), other->source->visibleLines()) << module.name;
            ++compared;
        }
        EXPECT_GT(compared, 0);
    }
}

// Access 97 files later opened by Access 2000 carry a converted copy of the
// project in MSysAccessObjects; both copies must read alike.
TEST(VbaCorpus, BothCopiesInsideOneAccess97FileAgree) {
    int compared = 0;
    for (const auto& file : ql::test::jetDatabases()) {
        const auto& row = ql::test::manifest().at(file);
        if (file.rfind("j3_", 0) != 0) continue;
        if (row.number("has_MSysAccessObjects") == 0 || row.number("has_MSysModules2") == 0) continue;
        SCOPED_TRACE(file);
        auto tables = tablesOf(file);
        const VbaProject fromModules2 = projectFromModules2(*(*tables)->modules2Rows(), (*tables)->databaseCodePage());
        auto image = assembleAccessObjects(*(*tables)->accessObjectsRows());
        auto compound = CompoundFile::open(std::move(image.image));
        const VbaProject fromObjects =
            projectFromStorage(*compound, ProjectLayout::AccessObjects, (*tables)->databaseCodePage());
        EXPECT_EQ(fromModules2.modules().size(), fromObjects.modules().size());
        for (const auto& module : fromModules2.modules()) {
            const ProjectModule* other = fromObjects.find(module.name);
            ASSERT_NE(other, nullptr) << module.name;
            ASSERT_TRUE(module.source && other->source) << module.name;
            EXPECT_EQ(module.source->visibleLines(), other->source->visibleLines()) << module.name;
            ++compared;
        }
    }
    EXPECT_GT(compared, 0);
}

// A project's own code page wins over the file's: this file's header says
// 1252 while its project was written in 1251.
TEST(VbaCorpus, ProjectCodePageComesFromTheModuleTable) {
    EXPECT_EQ(ql::test::manifest().at("j4_babnach_ru.mdb").number("code_page"), 1252);
    EXPECT_EQ(projectOf("j4_babnach_ru.mdb").codePage(), 1251);
    const VbaProject french = projectOf("j4_comptoir_fr.mdb");
    ASSERT_NE(french.find("Démarrage"), nullptr);
    EXPECT_NE(french.find("Form_Menu général"), nullptr);
}

// Every stream of every rebuilt compound-file image, read by us and by
// python3-olefile: same paths, same bytes.
void collectStreams(const Storage& storage, StoragePath path, std::map<std::string, std::string>& out) {
    for (const auto& entry : storage.children(path)) {
        StoragePath child = path;
        child.push_back(entry.name);
        if (entry.isStorage) {
            collectStreams(storage, child, out);
        } else {
            const std::string data = storage.readStream(child);
            out[describePath(child)] =
                QCryptographicHash::hash(QByteArray::fromStdString(data), QCryptographicHash::Sha1).toHex().toStdString() +
                " " + std::to_string(data.size());
        }
    }
}

TEST(VbaCorpus, CompoundFileReadingMatchesOlefile) {
    // Debian's interpreter first: that is where python3-olefile installs.
    QString interpreter;
    for (const QString candidate : {"/usr/bin/python3", "python3"})
        if (QProcess::execute(candidate, {"-c", "import olefile"}) == 0) {
            interpreter = candidate;
            break;
        }
    if (interpreter.isEmpty()) GTEST_SKIP() << "python3-olefile is not installed";
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const char* script = R"(import hashlib, olefile, sys
ole = olefile.OleFileIO(sys.argv[1])
for path in ole.listdir(streams=True, storages=False):
    data = ole.openstream(path).read()
    print("/".join(path) + "\t" + hashlib.sha1(data).hexdigest() + " " + str(len(data)))
)";
    int images = 0;
    for (const auto& file : ql::test::jetDatabases()) {
        if (ql::test::manifest().at(file).number("has_MSysAccessObjects") == 0) continue;
        SCOPED_TRACE(file);
        auto tables = tablesOf(file);
        const auto rows = (*tables)->accessObjectsRows();
        if (!rows || rows->size() < 2) continue;
        const auto assembled = assembleAccessObjects(*rows);
        const std::string& image = assembled.image;
        const std::string path = (dir.path() + "/image.bin").toStdString();
        std::ofstream(path, std::ios::binary).write(image.data(), static_cast<std::streamsize>(image.size()));

        QProcess python;
        python.start(interpreter, {"-c", script, QString::fromStdString(path)});
        ASSERT_TRUE(python.waitForFinished(60000));
        ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
        std::map<std::string, std::string> theirs;
        for (const auto& line : QString::fromUtf8(python.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts)) {
            const auto parts = line.split('\t');
            theirs[parts[0].toStdString()] = parts[1].toStdString();
        }
        std::map<std::string, std::string> ours;
        collectStreams(*CompoundFile::open(image), {}, ours);
        EXPECT_EQ(ours, theirs);
        EXPECT_GT(ours.size(), 3u);
        std::printf("%s: %zu streams, %zu missing slices\n", file.c_str(), ours.size(), assembled.missingSlices);
        ++images;
    }
    EXPECT_GE(images, 10);
}

}  // namespace
}  // namespace ql::vba

namespace ql::vba {
namespace {

TEST(VbaCorpus, AutomationStandInReadsTheFileThroughTheJetReader) {
    auto app = CreateObject("Access.Application", openJetProject);
    app->OpenCurrentDatabase(ql::test::corpusFile("j4_database41.mdb"));
    const auto module = app->Modules("Module1");
    EXPECT_EQ(module->CountOfLines(), 2);
    EXPECT_EQ(module->Lines(1, 1), "Option Compare Database");
    app->CloseCurrentDatabase();
    app->OpenCurrentDatabase(ql::test::corpusFile("j4_database41.mde"));
    try {
        app->Modules("Module1")->CountOfLines();
        ADD_FAILURE() << "compiled-only module read";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number(), automation_errors::ModuleCompiledOnly);
    }
    app->CloseCurrentDatabase();
    try {
        app->OpenCurrentDatabase(ql::test::corpusDir() / "no such file.mdb");
        ADD_FAILURE() << "opened a missing file";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number(), automation_errors::CannotOpenDatabase);
    }
    app->Quit(2);
}

}  // namespace
}  // namespace ql::vba
