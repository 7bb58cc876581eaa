// QueryDef.SQL over arbitrary MSysQueries rows. The input is read as a list
// of rows; each row is a header byte (which columns are present), the
// Attribute, and then each present column. Texts are a length byte and that
// many bytes, so a short input still gives many small rows.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/dao/QueryRows.h"
#include "platform/dao/QuerySql.h"

namespace {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool empty() const { return pos_ >= size_; }
    std::uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    std::string text()
    {
        std::size_t length = byte();
        if (length > size_ - pos_)
            length = size_ - pos_;
        std::string out(reinterpret_cast<const char*>(data_ + pos_), length);
        pos_ += length;
        return out;
    }
    std::int32_t int32()
    {
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i)
            v = v << 8 | byte();
        return static_cast<std::int32_t>(v);
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input in(data, size);
    const std::uint8_t settings = in.byte();
    const int jetVersion = settings & 1 ? 4 : 3;
    const int catalogueType = settings & 2 ? -1 : static_cast<int>(settings & 0xF0);
    std::vector<ql::dao::QueryRow> rows;
    while (!in.empty() && rows.size() < 512) {
        const std::uint8_t present = in.byte();
        ql::dao::QueryRow row;
        // Mostly the attributes the writer knows, sometimes any value.
        const std::uint8_t attribute = in.byte();
        row.attribute = present & 0x80 ? static_cast<std::int8_t>(attribute)
                        : attribute % 13 == 12 ? ql::dao::query_attribute::End : attribute % 13;
        if (present & 0x01) {
            const std::string order = in.text();
            row.order.assign(order.begin(), order.end());
        }
        if (present & 0x02)
            row.name1 = in.text();
        if (present & 0x04)
            row.name2 = in.text();
        if (present & 0x08)
            row.expression = in.text();
        if (present & 0x10)
            row.flag = present & 0x40 ? in.int32() : static_cast<int>(in.byte());
        if (present & 0x20)
            row.lvExtra = in.int32();
        rows.push_back(std::move(row));
    }
    const std::string sql = ql::dao::queryDefSql(rows, jetVersion, catalogueType);
    (void)sql;
    return 0;
}
