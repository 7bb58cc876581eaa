#include "tests/platform/workbook/XlsProbe.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <stdexcept>

#include "tests/support/Corpus.h"

namespace ql::workbook::test {

namespace {

// Debian's interpreter carries python3-xlrd; another python3 first on PATH
// (a per-user one) may not.
std::string pythonCommand() {
    return std::filesystem::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3";
}

std::string quoted(const std::string& text) {
    std::string out = "'";
    for (char c : text) {
        if (c == '\'') out += "'\\''";
        else out += c;
    }
    return out + "'";
}

}  // namespace

ProbedWorkbook probeXls(const std::filesystem::path& file) {
    const std::filesystem::path script =
        std::filesystem::path(QL_TEST_SOURCE_DIR) / "tests/platform/workbook/xls_probe.py";
    const std::filesystem::path errors = file.string() + ".probe-errors";
    const std::string command = pythonCommand() + " " + quoted(script.string()) + " " +
                                quoted(file.string()) + " 2>" + quoted(errors.string());
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) throw std::runtime_error("cannot run " + command);
    std::string output;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
    const int status = ::pclose(pipe);
    if (status != 0) {
        std::string complaint;
        try {
            complaint = ql::test::readFile(errors);
        } catch (...) {
        }
        std::filesystem::remove(errors);
        throw std::runtime_error("xlrd could not read " + file.string() + ":\n" + complaint);
    }
    std::filesystem::remove(errors);

    QJsonParseError parseError;
    const QJsonDocument doc =
        QJsonDocument::fromJson(QByteArray(output.data(), static_cast<qsizetype>(output.size())), &parseError);
    if (doc.isNull()) throw std::runtime_error("unreadable probe output: " + parseError.errorString().toStdString());
    const QJsonObject root = doc.object();
    ProbedWorkbook book;
    for (const QJsonValue& s : root["sheets"].toArray()) {
        const QJsonObject sheetObject = s.toObject();
        ProbedSheet sheet;
        sheet.name = sheetObject["name"].toString().toStdString();
        sheet.selected = sheetObject["selected"].toBool();
        for (const QJsonValue& c : sheetObject["cells"].toArray()) {
            const QJsonArray cell = c.toArray();
            ProbedCell probed;
            probed.type = cell[2].toString().toStdString();
            if (probed.type == "number") probed.number = cell[3].toDouble();
            else probed.text = cell[3].toString().toStdString();
            sheet.cells[{cell[0].toInt(), cell[1].toInt()}] = probed;
        }
        book.sheets.push_back(std::move(sheet));
    }
    for (const QJsonValue& p : root["problems"].toArray()) book.problems.push_back(p.toString().toStdString());
    book.continueRecords = root["counts"].toObject()["continue"].toInt();
    book.extSstBuckets = root["counts"].toObject()["extsst_buckets"].toInt();
    book.streamSize = static_cast<long long>(root["stream_size"].toDouble());
    return book;
}

}  // namespace ql::workbook::test
