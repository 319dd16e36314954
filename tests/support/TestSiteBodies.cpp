// The bodies a TestSite serves that take some making: compressed ones, and
// ones made as they go out.
#include <zlib.h>

#include "TestSite.h"

namespace {

constexpr qsizetype kZerosPieceBytes = 64 * 1024;

QByteArray Compressed(const QByteArray& data, int windowBits) {
    z_stream z{};
    deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(static_cast<qsizetype>(deflateBound(&z, data.size()) + 64), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(out.size() - z.avail_out);
    deflateEnd(&z);
    return out;
}

// `count` zero bytes as raw deflate blocks that refer to nothing before them
// and end on a byte boundary, so that copies of them can follow one another.
QByteArray DeflatedZeros(std::int64_t count) {
    const QByteArray zeros(kZerosPieceBytes, '\0');
    z_stream z{};
    deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    QByteArray out;
    char buffer[16 * 1024];
    for (std::int64_t left = count; left >= 0;) {
        const auto n = static_cast<uInt>(std::min<std::int64_t>(left, kZerosPieceBytes));
        left -= n;
        const int flush = left == 0 ? Z_FULL_FLUSH : Z_NO_FLUSH;
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zeros.constData()));
        z.avail_in = n;
        do {
            z.next_out = reinterpret_cast<Bytef*>(buffer);
            z.avail_out = sizeof buffer;
            deflate(&z, flush);
            out.append(buffer, static_cast<qsizetype>(sizeof buffer - z.avail_out));
        } while (z.avail_out == 0);
        if (flush == Z_FULL_FLUSH) {
            break;
        }
    }
    deflateEnd(&z);
    return out;
}

}  // namespace

QByteArray TestSite::gzip(const QByteArray& data) {
    return Compressed(data, 15 + 16);
}

QByteArray TestSite::deflate(const QByteArray& data, bool zlibWrapper) {
    return Compressed(data, zlibWrapper ? 15 : -15);
}

std::function<QByteArray()> TestSite::repeat(const QByteArray& unit, std::int64_t times) {
    return [unit, left = times]() mutable { return left-- > 0 ? unit : QByteArray(); };
}

std::function<QByteArray()> TestSite::gzipZeros(std::int64_t bytes) {
    // A gzip header, the same deflated megabyte of zeros over and over, the
    // rest, an empty last block, then the CRC and size of all the zeros.
    constexpr std::int64_t kUnit = 1 << 20;
    struct Bomb {
        std::int64_t bytes = 0, units = 0, done = -1;
        QByteArray unit;
        bool over = false;
    };
    auto bomb = std::make_shared<Bomb>();
    bomb->bytes = bytes;
    bomb->units = bytes / kUnit;
    return [bomb]() -> QByteArray {
        Bomb& b = *bomb;
        if (b.done < 0) {
            b.done = 0;
            b.unit = DeflatedZeros(kUnit);
            return QByteArray("\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff", 10);
        }
        if (b.done < b.units) {
            ++b.done;
            return b.unit;
        }
        if (b.over) {
            return {};
        }
        b.over = true;
        const std::int64_t rest = b.bytes % kUnit;
        const QByteArray zeros(kUnit, '\0');
        const uLong unitCrc = crc32(0, reinterpret_cast<const Bytef*>(zeros.constData()), kUnit);
        uLong crc = crc32(0, nullptr, 0);
        for (std::int64_t i = 0; i < b.units; ++i) {
            crc = crc32_combine(crc, unitCrc, kUnit);
        }
        crc =
            crc32(crc, reinterpret_cast<const Bytef*>(zeros.constData()), static_cast<uInt>(rest));
        QByteArray tail =
            (rest > 0 ? DeflatedZeros(rest) : QByteArray()) + QByteArray("\x03\x00", 2);
        for (std::uint32_t v :
             {static_cast<std::uint32_t>(crc), static_cast<std::uint32_t>(b.bytes)}) {
            for (int i = 0; i < 4; ++i) {
                tail += static_cast<char>((v >> (8 * i)) & 0xff);
            }
        }
        return tail;
    };
}
