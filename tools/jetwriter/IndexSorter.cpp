#include "tools/jetwriter/IndexSorter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <queue>
#include <stdexcept>
#include <unistd.h>

namespace ql::jetwriter {

namespace {

void appendBigEndian(Bytes& key, std::uint64_t v, std::size_t width)
{
    for (std::size_t i = width; i-- > 0;) key.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

std::uint32_t bigEndian32(const std::uint8_t* p)
{
    return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}

} // namespace

bool sortableKeyType(ColumnType t)
{
    switch (t) {
    case ColumnType::Integer:
    case ColumnType::Long:
    case ColumnType::Currency:
    case ColumnType::Single:
    case ColumnType::Double:
    case ColumnType::DateTime:
        return true;
    default:
        return false;
    }
}

std::size_t indexKeyWidth(ColumnType type)
{
    switch (type) {
    case ColumnType::Integer: return 3;
    case ColumnType::Long:
    case ColumnType::Single: return 5;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime: return 9;
    default: throw std::invalid_argument("no index keys for this column type");
    }
}

void appendIndexKey(Bytes& key, ColumnType type, const Value& v, bool ascending)
{
    const std::size_t start = key.size();
    if (v.isNull()) {
        key.push_back(0x00);
    } else {
        key.push_back(0x7F);
        const std::size_t width = indexKeyWidth(type) - 1;
        std::uint64_t bits = 0;
        switch (type) {
        case ColumnType::Integer:
        case ColumnType::Long:
        case ColumnType::Currency: {
            if (v.kind != Value::Kind::Integer) throw std::invalid_argument("index key: a whole number is needed");
            // Two's complement with the sign bit flipped orders as unsigned.
            bits = static_cast<std::uint64_t>(v.integer) ^ (std::uint64_t(1) << (8 * width - 1));
            break;
        }
        case ColumnType::Single:
        case ColumnType::Double:
        case ColumnType::DateTime: {
            if (v.kind != Value::Kind::Real && v.kind != Value::Kind::Integer)
                throw std::invalid_argument("index key: a number is needed");
            const double d = v.kind == Value::Kind::Real ? v.real : static_cast<double>(v.integer);
            bits = width == 4 ? std::bit_cast<std::uint32_t>(static_cast<float>(d)) : std::bit_cast<std::uint64_t>(d);
            const std::uint64_t sign = std::uint64_t(1) << (8 * width - 1);
            const std::uint64_t mask = width == 4 ? 0xFFFFFFFFull : ~0ull;
            // Negative numbers order backwards by their bits, so all of them are inverted;
            // positive ones only need to come after the negatives.
            bits = (bits & sign) ? (~bits & mask) : (bits | sign);
            break;
        }
        default:
            throw std::invalid_argument("no index keys for this column type");
        }
        appendBigEndian(key, bits, width);
    }
    if (!ascending)
        for (std::size_t i = start; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(~key[i]);
}

IndexSorter::IndexSorter(std::size_t keyWidth, std::size_t bufferBytes)
    : keyWidth_(keyWidth), limit_(std::max(bufferBytes, keyWidth + 5))
{
    if (keyWidth == 0 || keyWidth > 255) throw std::invalid_argument("index key width");
}

IndexSorter::~IndexSorter()
{
    if (spillFile_) std::fclose(spillFile_);
}

void IndexSorter::add(const Bytes& key, std::uint32_t rowPointer)
{
    if (key.size() > keyWidth_) throw std::logic_error("index key longer than its width");
    const std::size_t at = buffer_.size();
    buffer_.resize(at + recordBytes(), 0);
    std::memcpy(buffer_.data() + at, key.data(), key.size());
    std::uint8_t* p = buffer_.data() + at + keyWidth_;
    p[0] = static_cast<std::uint8_t>(rowPointer >> 24);
    p[1] = static_cast<std::uint8_t>(rowPointer >> 16);
    p[2] = static_cast<std::uint8_t>(rowPointer >> 8);
    p[3] = static_cast<std::uint8_t>(rowPointer);
    p[4] = static_cast<std::uint8_t>(key.size());
    if (buffer_.size() + recordBytes() > limit_) spill();
}

std::vector<std::uint32_t> IndexSorter::sortedOrder() const
{
    std::vector<std::uint32_t> order(buffer_.size() / recordBytes());
    for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    const std::uint8_t* base = buffer_.data();
    const std::size_t rec = recordBytes(), cmp = compareBytes();
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return std::memcmp(base + a * rec, base + b * rec, cmp) < 0;
    });
    return order;
}

void IndexSorter::spill()
{
    if (buffer_.empty()) return;
    if (!spillFile_) {
        spillFile_ = std::tmpfile();
        if (!spillFile_) throw std::runtime_error("cannot make a temporary file for index keys");
    }
    const std::vector<std::uint32_t> order = sortedOrder();
    fseeko(spillFile_, 0, SEEK_END);
    const std::uint64_t offset = static_cast<std::uint64_t>(ftello(spillFile_));
    for (std::uint32_t i : order)
        if (std::fwrite(buffer_.data() + std::size_t(i) * recordBytes(), recordBytes(), 1, spillFile_) != 1)
            throw std::runtime_error("cannot write index keys to the temporary file");
    runs_.push_back({offset, order.size()});
    buffer_.clear();
}

std::uint64_t IndexSorter::drain(IndexPageWriter& pages)
{
    std::uint64_t distinct = 0;
    Bytes key, previous;
    bool any = false;
    auto emit = [&](const std::uint8_t* rec) {
        key.assign(rec, rec + rec[keyWidth_ + 4]);
        if (!any || key != previous) ++distinct;
        any = true;
        pages.add(key, bigEndian32(rec + keyWidth_));
        previous.swap(key);
    };
    if (runs_.empty()) {
        for (std::uint32_t i : sortedOrder()) emit(buffer_.data() + std::size_t(i) * recordBytes());
        buffer_.clear();
        buffer_.shrink_to_fit();
        return distinct;
    }
    spill();
    std::fflush(spillFile_);
    const int fd = fileno(spillFile_);
    // Each run is read through a window of records; the smallest head of all runs goes next.
    const std::size_t window = std::max<std::size_t>(1, (32 << 10) / recordBytes());
    struct Reader {
        Run run;
        std::uint64_t next = 0; // records read from the run so far
        std::vector<std::uint8_t> data;
        std::size_t at = 0;     // current record in data
    };
    std::vector<Reader> readers(runs_.size());
    auto refill = [&](Reader& r) {
        const std::uint64_t n = std::min<std::uint64_t>(window, r.run.records - r.next);
        r.data.resize(n * recordBytes());
        const off_t from = static_cast<off_t>(r.run.offset + r.next * recordBytes());
        if (n && pread(fd, r.data.data(), r.data.size(), from) != static_cast<ssize_t>(r.data.size()))
            throw std::runtime_error("cannot read index keys back from the temporary file");
        r.next += n;
        r.at = 0;
        return n > 0;
    };
    auto head = [&](std::size_t i) { return readers[i].data.data() + readers[i].at * recordBytes(); };
    auto later = [&](std::size_t a, std::size_t b) { return std::memcmp(head(a), head(b), compareBytes()) > 0; };
    std::priority_queue<std::size_t, std::vector<std::size_t>, decltype(later)> queue(later);
    for (std::size_t i = 0; i < readers.size(); ++i) {
        readers[i].run = runs_[i];
        if (refill(readers[i])) queue.push(i);
    }
    while (!queue.empty()) {
        const std::size_t i = queue.top();
        queue.pop();
        emit(head(i));
        Reader& r = readers[i];
        if (++r.at * recordBytes() < r.data.size() || refill(r)) queue.push(i);
    }
    std::fclose(spillFile_);
    spillFile_ = nullptr;
    runs_.clear();
    return distinct;
}

} // namespace ql::jetwriter
