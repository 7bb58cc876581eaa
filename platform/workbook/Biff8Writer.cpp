#include "platform/workbook/Biff8Writer.h"

// No library in Debian writes BIFF8 (libgsf provides the compound file
// around it, not the records), so the records are assembled here. Field
// layouts follow the published Excel binary file format.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <set>
#include <unordered_map>

#include "platform/workbook/SheetName.h"
#include "platform/text/Unicode.h"

namespace ql::workbook {

namespace {

// Record identifiers.
constexpr uint16_t RecBof = 0x0809;
constexpr uint16_t RecEof = 0x000A;
constexpr uint16_t RecInterfaceHdr = 0x00E1;
constexpr uint16_t RecMms = 0x00C1;
constexpr uint16_t RecInterfaceEnd = 0x00E2;
constexpr uint16_t RecWriteAccess = 0x005C;
constexpr uint16_t RecCodePage = 0x0042;
constexpr uint16_t RecDsf = 0x0161;
constexpr uint16_t RecWindowProtect = 0x0019;
constexpr uint16_t RecProtect = 0x0012;
constexpr uint16_t RecPassword = 0x0013;
constexpr uint16_t RecProt4Rev = 0x01AF;
constexpr uint16_t RecProt4RevPass = 0x01BC;
constexpr uint16_t RecWindow1 = 0x003D;
constexpr uint16_t RecBackup = 0x0040;
constexpr uint16_t RecHideObj = 0x008D;
constexpr uint16_t RecDateMode = 0x0022;
constexpr uint16_t RecPrecision = 0x000E;
constexpr uint16_t RecRefreshAll = 0x01B7;
constexpr uint16_t RecBookBool = 0x00DA;
constexpr uint16_t RecFont = 0x0031;
constexpr uint16_t RecXf = 0x00E0;
constexpr uint16_t RecStyle = 0x0293;
constexpr uint16_t RecUsesElfs = 0x0160;
constexpr uint16_t RecBoundSheet = 0x0085;
constexpr uint16_t RecCountry = 0x008C;
constexpr uint16_t RecSst = 0x00FC;
constexpr uint16_t RecContinue = 0x003C;
constexpr uint16_t RecExtSst = 0x00FF;
constexpr uint16_t RecIndex = 0x020B;
constexpr uint16_t RecCalcMode = 0x000D;
constexpr uint16_t RecCalcCount = 0x000C;
constexpr uint16_t RecRefMode = 0x000F;
constexpr uint16_t RecIteration = 0x0011;
constexpr uint16_t RecDelta = 0x0010;
constexpr uint16_t RecSaveRecalc = 0x005F;
constexpr uint16_t RecPrintHeaders = 0x002A;
constexpr uint16_t RecPrintGridlines = 0x002B;
constexpr uint16_t RecGridSet = 0x0082;
constexpr uint16_t RecGuts = 0x0080;
constexpr uint16_t RecDefaultRowHeight = 0x0225;
constexpr uint16_t RecWsBool = 0x0081;
constexpr uint16_t RecDefColWidth = 0x0055;
constexpr uint16_t RecDimensions = 0x0200;
constexpr uint16_t RecRow = 0x0208;
constexpr uint16_t RecLabelSst = 0x00FD;
constexpr uint16_t RecNumber = 0x0203;
constexpr uint16_t RecDbCell = 0x00D7;
constexpr uint16_t RecWindow2 = 0x023E;

constexpr size_t RecordHeaderSize = 4;
// Longest record body the format allows; longer data goes on in CONTINUE.
constexpr size_t MaxRecordData = 8224;

constexpr uint16_t BiffVersion8 = 0x0600;
constexpr uint16_t SubstreamGlobals = 0x0005;
constexpr uint16_t SubstreamWorksheet = 0x0010;
constexpr uint16_t CodePageUtf16 = 1200;
constexpr uint16_t DefaultCellXf = 15;      // the first cell format after the 15 style formats
constexpr size_t RowsPerBlock = 32;         // rows indexed by one DBCELL
constexpr size_t RowRecordSize = RecordHeaderSize + 16;
constexpr size_t MinStringsPerBucket = 8;   // EXTSST granularity floor
constexpr size_t MaxSstBuckets = 128;

class Bytes {
public:
    void u8(uint8_t v) { data_.push_back(static_cast<char>(v)); }
    void u16(uint16_t v) { u8(v & 0xFF); u8(v >> 8); }
    void u32(uint32_t v) { u16(v & 0xFFFF); u16(v >> 16); }
    void f64(double v) {
        uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        u32(static_cast<uint32_t>(bits));
        u32(static_cast<uint32_t>(bits >> 32));
    }
    void zeros(size_t n) { data_.append(n, '\0'); }
    size_t size() const { return data_.size(); }
    const std::string& str() const { return data_; }

private:
    std::string data_;
};

bool fitsOneByte(std::u16string_view text) {
    for (char16_t c : text)
        if (c > 0xFF) return false;
    return true;
}

// Characters of a BIFF8 string: one byte each when every character is in
// Latin-1 ("compressed"), UTF-16LE otherwise; the caller writes the flag.
void appendChars(Bytes& out, std::u16string_view text, bool oneByte) {
    for (char16_t c : text) {
        if (oneByte) out.u8(static_cast<uint8_t>(c));
        else out.u16(c);
    }
}

// A string with a one-byte length (sheet and font names).
void appendShortString(Bytes& out, std::u16string_view text) {
    const bool oneByte = fitsOneByte(text);
    out.u8(static_cast<uint8_t>(text.size()));
    out.u8(oneByte ? 0 : 1);
    appendChars(out, text, oneByte);
}

class RecordStream {
public:
    // Appends one record and returns the stream position of its header.
    size_t record(uint16_t id, const Bytes& body) { return record(id, body.str()); }
    size_t record(uint16_t id, const std::string& body) {
        if (body.size() > MaxRecordData)
            throw std::logic_error("workbook record longer than the format allows");
        const size_t at = out_.size();
        Bytes header;
        header.u16(id);
        header.u16(static_cast<uint16_t>(body.size()));
        out_ += header.str();
        out_ += body;
        return at;
    }
    size_t record(uint16_t id) { return record(id, std::string()); }
    size_t record16(uint16_t id, uint16_t value) {
        Bytes b;
        b.u16(value);
        return record(id, b);
    }

    void patchU32(size_t at, uint64_t value) {
        for (int i = 0; i < 4; ++i) out_[at + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    void patchU16(size_t at, uint32_t value) {
        out_[at] = static_cast<char>(value & 0xFF);
        out_[at + 1] = static_cast<char>((value >> 8) & 0xFF);
    }

    size_t position() const { return out_.size(); }
    std::string take() { return std::move(out_); }

private:
    std::string out_;
};

void writeBof(RecordStream& s, uint16_t substream) {
    Bytes b;
    b.u16(BiffVersion8);
    b.u16(substream);
    b.u16(0x0DBB);  // build and year of the application that wrote the file
    b.u16(0x07CC);
    b.u32(0);       // file history flags
    b.u32(0x0006);  // lowest BIFF version able to read everything here
    s.record(RecBof, b);
}

// Unique texts of the whole workbook in order of first use, as the cell
// table refers to them by index.
struct SharedStrings {
    std::vector<const std::u16string*> unique;
    std::unordered_map<std::u16string, uint32_t> indexOf;
    uint32_t totalUses = 0;

    explicit SharedStrings(const WorkbookModel& model) {
        for (const SheetModel& sheet : model.sheets) {
            for (const auto& [at, content] : sheet.cells) {
                const auto* text = std::get_if<std::u16string>(&content);
                if (!text) continue;
                ++totalUses;
                auto [it, added] = indexOf.try_emplace(*text, static_cast<uint32_t>(unique.size()));
                if (added) unique.push_back(&it->first);
            }
        }
    }
};

// The SST record with as many CONTINUE records as its strings need, then
// EXTSST, which tells a reader where every dsst-th string starts. A string's
// length and flag never split; its characters may, and each continuation of
// a string begins with its own one-byte flag.
void writeSharedStrings(RecordStream& s, const SharedStrings& strings) {
    const size_t count = strings.unique.size();
    size_t perBucket = (count + MaxSstBuckets - 1) / MaxSstBuckets;
    if (perBucket < MinStringsPerBucket) perBucket = MinStringsPerBucket;

    struct BucketStart {
        size_t streamPos;
        size_t offsetInRecord;
    };
    std::vector<BucketStart> buckets;

    uint16_t recordId = RecSst;
    Bytes body;
    body.u32(strings.totalUses);
    body.u32(static_cast<uint32_t>(count));
    auto flush = [&] {
        s.record(recordId, body);
        recordId = RecContinue;
        body = Bytes();
    };

    for (size_t i = 0; i < count; ++i) {
        const std::u16string& text = *strings.unique[i];
        const bool oneByte = fitsOneByte(text);
        const size_t charSize = oneByte ? 1 : 2;
        const size_t firstPiece = text.empty() ? 0 : charSize;
        if (body.size() + 3 + firstPiece > MaxRecordData) flush();
        if (i % perBucket == 0)
            buckets.push_back({s.position() + RecordHeaderSize + body.size(),
                               RecordHeaderSize + body.size()});
        body.u16(static_cast<uint16_t>(text.size()));
        body.u8(oneByte ? 0 : 1);
        size_t done = 0;
        while (done < text.size()) {
            size_t fit = (MaxRecordData - body.size()) / charSize;
            if (fit == 0) {
                flush();
                body.u8(oneByte ? 0 : 1);
                continue;
            }
            const size_t n = std::min(fit, text.size() - done);
            appendChars(body, std::u16string_view(text).substr(done, n), oneByte);
            done += n;
        }
    }
    flush();

    Bytes ext;
    ext.u16(static_cast<uint16_t>(perBucket));
    for (const BucketStart& b : buckets) {
        ext.u32(static_cast<uint32_t>(b.streamPos));
        ext.u16(static_cast<uint16_t>(b.offsetInRecord));
        ext.u16(0);
    }
    s.record(RecExtSst, ext);
}

void writeFont(RecordStream& s) {
    Bytes b;
    b.u16(200);     // 10 points, in twentieths
    b.u16(0);       // no bold, italic ...
    b.u16(0x7FFF);  // the window text colour
    b.u16(400);     // normal weight
    b.u16(0);       // no super- or subscript
    b.u8(0);        // no underline
    b.u8(0);        // family
    b.u8(0);        // character set
    b.u8(0);
    appendShortString(b, u"Arial");
    s.record(RecFont, b);
}

// Cell formats 0 to 14 are styles, 15 the format every cell here uses; all
// default (General number format, bottom aligned, no borders or fill).
void writeXf(RecordStream& s, bool style, uint16_t font) {
    Bytes b;
    b.u16(font);
    b.u16(0);                        // number format "General"
    b.u16(style ? 0xFFF5 : 0x0001);  // locked; a style has no parent
    b.u8(0x20);                      // bottom aligned
    b.u8(0);
    b.u8(0);
    b.u8(style ? 0xF4 : 0x00);
    b.u32(0);
    b.u32(0);
    b.u16(0x20C0);                   // automatic pattern colours
    s.record(RecXf, b);
}

void writeGlobals(RecordStream& s, const WorkbookModel& model, const SharedStrings& strings,
                  std::vector<size_t>& sheetOffsetFields) {
    writeBof(s, SubstreamGlobals);
    s.record16(RecInterfaceHdr, CodePageUtf16);
    s.record16(RecMms, 0);
    s.record(RecInterfaceEnd);
    {
        // The last writer's name, blank-padded to the fixed record size.
        Bytes b;
        b.u16(0);
        b.u8(0);
        for (int i = 0; i < 109; ++i) b.u8(' ');
        s.record(RecWriteAccess, b);
    }
    s.record16(RecCodePage, CodePageUtf16);
    s.record16(RecDsf, 0);
    s.record16(RecWindowProtect, 0);
    s.record16(RecProtect, 0);
    s.record16(RecPassword, 0);
    s.record16(RecProt4Rev, 0);
    s.record16(RecProt4RevPass, 0);
    {
        Bytes b;
        b.u16(0);       // window position and size, in twips
        b.u16(0);
        b.u16(0x4000);
        b.u16(0x2000);
        b.u16(0x0038);  // scroll bars and sheet tabs shown
        b.u16(static_cast<uint16_t>(model.activeSheet));
        b.u16(0);       // first tab shown
        b.u16(1);       // one sheet selected: the active one
        b.u16(600);     // tab bar width, per mille
        s.record(RecWindow1, b);
    }
    s.record16(RecBackup, 0);
    s.record16(RecHideObj, 0);
    s.record16(RecDateMode, 0);  // dates count from 1900
    s.record16(RecPrecision, 1);
    s.record16(RecRefreshAll, 0);
    s.record16(RecBookBool, 0);
    // Font index 4 does not exist in the format, so four records give
    // indexes 0 to 3, all the default font.
    for (int i = 0; i < 4; ++i) writeFont(s);
    for (uint16_t i = 0; i < DefaultCellXf; ++i) writeXf(s, true, 0);
    writeXf(s, false, 0);
    {
        Bytes b;
        b.u16(0x8000);  // built-in style on cell format 0
        b.u8(0);        // "Normal"
        b.u8(0xFF);
        s.record(RecStyle, b);
    }
    s.record16(RecUsesElfs, 0);
    for (const SheetModel& sheet : model.sheets) {
        Bytes b;
        b.u32(0);  // the sheet's stream position, patched once it is known
        b.u8(0);   // visible
        b.u8(0);   // worksheet
        appendShortString(b, sheet.name);
        sheetOffsetFields.push_back(s.record(RecBoundSheet, b) + RecordHeaderSize);
    }
    {
        Bytes b;
        b.u16(1);  // United States
        b.u16(1);
        s.record(RecCountry, b);
    }
    writeSharedStrings(s, strings);
    s.record(RecEof);
}

struct RowSpan {
    int row;
    std::map<std::pair<int, int>, CellContent>::const_iterator first, last;  // [first, last)
    int firstColumn, columnsEnd;
};

std::vector<RowSpan> rowsOf(const SheetModel& sheet) {
    std::vector<RowSpan> rows;
    for (auto it = sheet.cells.begin(); it != sheet.cells.end(); ++it) {
        const auto [row, col] = it->first;
        if (rows.empty() || rows.back().row != row) {
            if (!rows.empty()) rows.back().last = it;
            rows.push_back({row, it, sheet.cells.end(), col, col + 1});
        } else {
            rows.back().columnsEnd = col + 1;
        }
    }
    return rows;
}

void writeCell(RecordStream& s, int row, int col, const CellContent& content,
               const SharedStrings& strings) {
    Bytes b;
    b.u16(static_cast<uint16_t>(row));
    b.u16(static_cast<uint16_t>(col));
    b.u16(DefaultCellXf);
    if (const auto* text = std::get_if<std::u16string>(&content)) {
        b.u32(strings.indexOf.at(*text));
        s.record(RecLabelSst, b);
    } else {
        b.f64(std::get<double>(content));
        s.record(RecNumber, b);
    }
}

void writeSheet(RecordStream& s, const SheetModel& sheet, bool active, const SharedStrings& strings) {
    writeBof(s, SubstreamWorksheet);

    const std::vector<RowSpan> rows = rowsOf(sheet);
    // Row blocks of 32 row numbers each, holding at least one cell.
    std::vector<std::pair<size_t, size_t>> blocks;  // [begin, end) into rows
    for (size_t i = 0; i < rows.size(); ++i) {
        if (blocks.empty() || size_t(rows[i].row) / RowsPerBlock !=
                                  size_t(rows[blocks.back().first].row) / RowsPerBlock)
            blocks.push_back({i, i + 1});
        else
            blocks.back().second = i + 1;
    }
    const uint32_t firstRow = rows.empty() ? 0 : rows.front().row;
    const uint32_t rowsEnd = rows.empty() ? 0 : rows.back().row + 1;
    int firstColumn = 0, columnsEnd = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        firstColumn = i == 0 ? rows[i].firstColumn : std::min(firstColumn, rows[i].firstColumn);
        columnsEnd = std::max(columnsEnd, rows[i].columnsEnd);
    }

    size_t indexFields;
    {
        Bytes b;
        b.u32(0);
        b.u32(firstRow);
        b.u32(rowsEnd);
        b.u32(0);  // DEFCOLWIDTH position, patched
        b.zeros(4 * blocks.size());  // DBCELL positions, patched
        indexFields = s.record(RecIndex, b) + RecordHeaderSize;
    }
    s.record16(RecCalcMode, 1);
    s.record16(RecCalcCount, 100);
    s.record16(RecRefMode, 1);
    s.record16(RecIteration, 0);
    {
        Bytes b;
        b.f64(0.001);
        s.record(RecDelta, b);
    }
    s.record16(RecSaveRecalc, 1);
    s.record16(RecPrintHeaders, 0);
    s.record16(RecPrintGridlines, 0);
    s.record16(RecGridSet, 1);
    {
        Bytes b;
        b.zeros(8);
        s.record(RecGuts, b);
    }
    {
        Bytes b;
        b.u16(0);
        b.u16(0x00FF);
        s.record(RecDefaultRowHeight, b);
    }
    s.record16(RecWsBool, 0x04C1);
    s.patchU32(indexFields + 12, s.record16(RecDefColWidth, 8));
    {
        Bytes b;
        b.u32(firstRow);
        b.u32(rowsEnd);
        b.u16(static_cast<uint16_t>(firstColumn));
        b.u16(static_cast<uint16_t>(columnsEnd));
        b.u16(0);
        s.record(RecDimensions, b);
    }

    for (size_t k = 0; k < blocks.size(); ++k) {
        const auto [begin, end] = blocks[k];
        const size_t firstRowRecord = s.position();
        for (size_t i = begin; i < end; ++i) {
            Bytes b;
            b.u16(static_cast<uint16_t>(rows[i].row));
            b.u16(static_cast<uint16_t>(rows[i].firstColumn));
            b.u16(static_cast<uint16_t>(rows[i].columnsEnd));
            b.u16(0x00FF);       // default height
            b.u16(0);
            b.u16(0);
            b.u32(0x000F0100);   // no outline, default format
            s.record(RecRow, b);
        }
        std::vector<size_t> firstCells;
        for (size_t i = begin; i < end; ++i) {
            firstCells.push_back(s.position());
            for (auto it = rows[i].first; it != rows[i].last; ++it)
                writeCell(s, it->first.first, it->first.second, it->second, strings);
        }
        // Each row's first cell, relative to the previous one; the first
        // relative to the end of the block's first ROW record.
        Bytes b;
        const size_t dbCell = s.position();
        b.u32(static_cast<uint32_t>(dbCell - firstRowRecord));
        for (size_t i = 0; i < firstCells.size(); ++i) {
            const size_t from = i == 0 ? firstRowRecord + RowRecordSize : firstCells[i - 1];
            b.u16(static_cast<uint16_t>(firstCells[i] - from));
        }
        s.record(RecDbCell, b);
        s.patchU32(indexFields + 16 + 4 * k, dbCell);
    }

    {
        Bytes b;
        // Grid lines, headers, zeros, outline symbols; the active sheet is
        // also the selected one and shown.
        b.u16(active ? 0x06B6 : 0x00B6);
        b.u16(0);     // top row
        b.u16(0);     // left column
        b.u16(0x40);  // automatic grid colour
        b.u16(0);
        b.u16(0);     // zoom levels: default
        b.u16(0);
        b.u32(0);
        s.record(RecWindow2, b);
    }
    s.record(RecEof);
}

void checkModel(const WorkbookModel& model) {
    if (model.sheets.empty()) throw std::invalid_argument("A workbook must hold at least one sheet.");
    if (model.sheets.size() > std::numeric_limits<uint16_t>::max())
        throw std::invalid_argument("Too many sheets for an Excel 97-2003 workbook.");
    if (model.activeSheet >= model.sheets.size())
        throw std::invalid_argument("The active sheet is not in the workbook.");
    std::set<std::string> names;
    for (const SheetModel& sheet : model.sheets) {
        if (auto problem = sheetNameProblem(sheet.name)) throw std::invalid_argument(*problem);
        if (!names.insert(sheetNameKey(sheet.name)).second)
            throw std::invalid_argument("Two sheets share the name '" + text::toUtf8(sheet.name) + "'.");
        for (const auto& [at, content] : sheet.cells) {
            if (at.first < 0 || at.first >= MaxRows || at.second < 0 || at.second >= MaxColumns)
                throw std::invalid_argument("A cell lies outside the sheet.");
            if (const auto* text = std::get_if<std::u16string>(&content)) {
                if (text->size() > MaxCellTextLength)
                    throw std::invalid_argument("A cell text is longer than 32767 characters.");
            } else if (!std::isfinite(std::get<double>(content))) {
                throw std::invalid_argument("A cell number is not finite.");
            }
        }
    }
}

}  // namespace

std::string buildWorkbookStream(const WorkbookModel& model) {
    checkModel(model);
    const SharedStrings strings(model);
    RecordStream s;
    std::vector<size_t> sheetOffsetFields;
    writeGlobals(s, model, strings, sheetOffsetFields);
    for (size_t i = 0; i < model.sheets.size(); ++i) {
        s.patchU32(sheetOffsetFields[i], s.position());
        writeSheet(s, model.sheets[i], i == model.activeSheet, strings);
    }
    // Every position above was stored in 32 bits; they are only right if
    // the whole stream fits.
    if (s.position() > std::numeric_limits<uint32_t>::max())
        throw std::invalid_argument("The workbook is too large for an Excel 97-2003 file.");
    std::string out = s.take();
    if (out.size() < MinWorkbookStreamSize) out.resize(MinWorkbookStreamSize, '\0');
    return out;
}

}  // namespace ql::workbook
