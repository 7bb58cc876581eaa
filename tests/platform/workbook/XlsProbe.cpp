#include "tests/platform/workbook/XlsProbe.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <stdexcept>

#include "tests/support/MdbTools.h"

namespace ql::workbook::test {

ProbedWorkbook probeXls(const std::filesystem::path& file) {
    // Debian's interpreter carries python3-xlrd; another python3 first on
    // PATH (a per-user one) may not.
    const std::string python = std::filesystem::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3";
    const std::filesystem::path script =
        std::filesystem::path(QL_TEST_SOURCE_DIR) / "tests/platform/workbook/xls_probe.py";
    const ql::test::ProgramResult result = ql::test::runProgram({python, script.string(), file.string()});
    if (result.exitCode != 0) throw std::runtime_error("xlrd could not read " + file.string() + ":\n" + result.out);
    const std::string& output = result.out;

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
