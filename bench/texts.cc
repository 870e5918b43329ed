// Texts of 30 to 100 characters from UTF-8 to UTF-16 and back (ASCII, accented letters, Japanese),
// and colon paths made POSIX paths, all in memory: the library beside QString, ICU and iconv. The
// floor is the plain loop over characters.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "bench/Scratch.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Unicode.h"

#ifdef BENCH_HAS_QT
#include <QString>
#endif

namespace Bench {
namespace {

constexpr int kTexts = 1000;
constexpr int kRounds = 100;
constexpr std::size_t kRoom = 512;

using Units = std::u16string;

// --- The texts ----------------------------------------------------------------------------------

enum class Script { kAscii, kAccented, kJapanese };

Units MakeText(Script script, Random& random) {
    Units text;
    const unsigned length = 30 + random.Below(71);
    while (text.size() < length) {
        const bool isPlain = script != Script::kJapanese && random.Below(4) != 0;
        if (script == Script::kAscii || isPlain)
            text += static_cast<char16_t>('a' + random.Below(26));
        else if (script == Script::kAccented)
            text += static_cast<char16_t>(0xE0 + random.Below(0x1F));
        else
            text += static_cast<char16_t>(0x3041 + random.Below(80));
    }
    return text;
}

struct Corpus {
    std::vector<Units> units;
    std::vector<std::string> bytes;
    std::uint64_t sumOfUnits = 0;  // their number, as every contender counts it
    std::uint64_t sumOfBytes = 0;
};

template <Script kScript>
const Corpus& Texts() {
    static const Corpus kCorpus = [] {
        Corpus corpus;
        Random random;
        for (int i = 0; i < kTexts; ++i) {
            const Units text = MakeText(kScript, random);
            const Ondrel::Uni16String copy(text.begin(), text.end());
            corpus.units.push_back(text);
            corpus.bytes.push_back(Ondrel::Uni16StringToUTF8(copy));
            corpus.sumOfUnits += text.size() + text.back();
            corpus.sumOfBytes +=
                corpus.bytes.back().size() + static_cast<unsigned char>(corpus.bytes.back().back());
        }
        return corpus;
    }();
    return kCorpus;
}

const unsigned short* Shorts(const Units& text) {
    return reinterpret_cast<const unsigned short*>(text.c_str());
}

std::uint64_t MarkOfUnits(const void* units, std::size_t size) {
    if (size - 1 >= kRoom) return 0;  // nothing, or a failure
    std::uint16_t last;
    std::memcpy(&last, static_cast<const char*>(units) + 2 * (size - 1), sizeof last);
    return size + last;
}

std::uint64_t MarkOfBytes(const char* bytes, std::size_t size) {
    if (size - 1 >= kRoom) return 0;
    return size + static_cast<unsigned char>(bytes[size - 1]);
}

// --- Contenders ---------------------------------------------------------------------------------

// Each converts into memory of its own kind.

struct Floor {
    std::uint64_t ToUnits(const std::string& text) {
        char16_t out[kRoom];
        std::size_t n = 0;
        const auto* at = reinterpret_cast<const unsigned char*>(text.c_str());
        while (*at != 0) {
            if (*at < 0x80) {
                out[n++] = *at++;
            } else if (*at < 0xE0) {
                out[n++] = static_cast<char16_t>((at[0] & 0x1F) << 6 | (at[1] & 0x3F));
                at += 2;
            } else {
                out[n++] = static_cast<char16_t>((at[0] & 0x0F) << 12 | (at[1] & 0x3F) << 6 |
                                                 (at[2] & 0x3F));
                at += 3;
            }
        }
        out[n] = 0;
        benchmark::DoNotOptimize(out[0]);
        return MarkOfUnits(out, n);
    }
    std::uint64_t ToBytes(const Units& text) {
        char out[kRoom];
        std::size_t n = 0;
        for (const char16_t* at = text.c_str(); *at != 0; ++at) {
            const unsigned unit = *at;
            if (unit < 0x80) {
                out[n++] = static_cast<char>(unit);
            } else if (unit < 0x800) {
                out[n++] = static_cast<char>(0xC0 | unit >> 6);
                out[n++] = static_cast<char>(0x80 | (unit & 0x3F));
            } else {
                out[n++] = static_cast<char>(0xE0 | unit >> 12);
                out[n++] = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
                out[n++] = static_cast<char>(0x80 | (unit & 0x3F));
            }
        }
        out[n] = 0;
        benchmark::DoNotOptimize(out[0]);
        return MarkOfBytes(out, n);
    }
};

struct Library {
    std::uint64_t ToUnits(const std::string& text) {
        unsigned short out[kRoom];
        const int n = Ondrel::UTF8ToUni16Char(text.c_str(), out, kRoom);
        return MarkOfUnits(out, static_cast<std::size_t>(n));
    }
    std::uint64_t ToBytes(const Units& text) {
        char out[kRoom];
        const int n = Ondrel::Uni16CharToUTF8(Shorts(text), out, kRoom);
        return MarkOfBytes(out, static_cast<std::size_t>(n));
    }
};

struct Icu {
    std::uint64_t ToUnits(const std::string& text) {
        char16_t out[kRoom];
        std::int32_t n = 0;
        UErrorCode code = U_ZERO_ERROR;
        u_strFromUTF8(out, kRoom, &n, text.c_str(), -1, &code);
        return MarkOfUnits(out, static_cast<std::size_t>(n));
    }
    std::uint64_t ToBytes(const Units& text) {
        char out[kRoom];
        std::int32_t n = 0;
        UErrorCode code = U_ZERO_ERROR;
        u_strToUTF8(out, kRoom, &n, text.c_str(), -1, &code);
        return MarkOfBytes(out, static_cast<std::size_t>(n));
    }
};

class Iconv {
 public:
    Iconv()
        : toUnits_(iconv_open("UTF-16LE", "UTF-8")), toBytes_(iconv_open("UTF-8", "UTF-16LE")) {}
    ~Iconv() {
        iconv_close(toUnits_);
        iconv_close(toBytes_);
    }
    std::uint64_t ToUnits(const std::string& text) {
        char out[2 * kRoom];
        const std::size_t size = Convert(toUnits_, text.data(), text.size(), out, sizeof out);
        return MarkOfUnits(out, size / 2);
    }
    std::uint64_t ToBytes(const Units& text) {
        char out[kRoom];
        const std::size_t size = Convert(toBytes_, reinterpret_cast<const char*>(text.data()),
                                         2 * text.size(), out, sizeof out);
        return MarkOfBytes(out, size);
    }

 private:
    static std::size_t Convert(iconv_t converter, const char* text, std::size_t size, char* out,
                               std::size_t room) {
        char* from = const_cast<char*>(text);  // it is not changed
        char* to = out;
        iconv(converter, &from, &size, &to, &room);
        return static_cast<std::size_t>(to - out);
    }

    iconv_t toUnits_;
    iconv_t toBytes_;
};

#ifdef BENCH_HAS_QT
struct QtPeer {
    std::uint64_t ToUnits(const std::string& text) {
        const QString out = QString::fromUtf8(text.data(), static_cast<int>(text.size()));
        return MarkOfUnits(out.utf16(), static_cast<std::size_t>(out.size()));
    }
    std::uint64_t ToBytes(const Units& text) {
        const QByteArray out = QString::fromRawData(reinterpret_cast<const QChar*>(text.data()),
                                                    static_cast<int>(text.size()))
                                   .toUtf8();
        return MarkOfBytes(out.constData(), static_cast<std::size_t>(out.size()));
    }
};
#endif

// --- Work ---------------------------------------------------------------------------------------

template <Script kScript, class Contender>
void ToUnits(benchmark::State& state) {
    const Corpus& corpus = Texts<kScript>();
    Contender contender;
    for (auto _ : state) {
        std::uint64_t sum = 0;
        for (int round = 0; round < kRounds; ++round)
            for (const std::string& text : corpus.bytes)
                sum += contender.ToUnits(text);
        if (sum != corpus.sumOfUnits * kRounds) state.SkipWithError("other units");
    }
}

template <Script kScript, class Contender>
void ToBytes(benchmark::State& state) {
    const Corpus& corpus = Texts<kScript>();
    Contender contender;
    for (auto _ : state) {
        std::uint64_t sum = 0;
        for (int round = 0; round < kRounds; ++round)
            for (const Units& text : corpus.units)
                sum += contender.ToBytes(text);
        if (sum != corpus.sumOfBytes * kRounds) state.SkipWithError("other bytes");
    }
}

template <Script kScript, class Contender>
void Register(const std::string& script, const std::string& contender) {
    AddWork("J. " + script + " to UTF-16", contender, ToUnits<kScript, Contender>);
    AddWork("J. " + script + " to UTF-8", contender, ToBytes<kScript, Contender>);
}

template <class Contender>
void RegisterAll(const std::string& contender) {
    Register<Script::kAscii, Contender>("ASCII", contender);
    Register<Script::kAccented, Contender>("accented", contender);
    Register<Script::kJapanese, Contender>("Japanese", contender);
}

// --- Paths --------------------------------------------------------------------------------------

std::vector<Ondrel::Uni16String> ColonPaths() {
    std::vector<Ondrel::Uni16String> paths;
    Random random;
    for (int i = 0; i < kTexts; ++i) {
        std::string path = "Root";
        while (path.size() < 60) {
            path += ':';
            for (unsigned n = 4 + random.Below(12); n > 0; --n)
                path += static_cast<char>('a' + random.Below(26));
        }
        paths.push_back(Ondrel::UTF8ToUni16String(path));
    }
    return paths;
}

// Each begins with the root volume, has no slash and no doubled colon.
Ondrel::Uni16String PlainPath(const Ondrel::Uni16String& path) {
    Ondrel::Uni16String posix(path, 4);
    for (unsigned short& unit : posix)
        if (unit == ':') unit = '/';
    return posix;
}

#ifdef BENCH_HAS_QT
Ondrel::Uni16String QtPath(const Ondrel::Uni16String& path) {
    QString text = QString::fromUtf16(path.c_str() + 4, static_cast<int>(path.size() - 4));
    text.replace(QLatin1Char(':'), QLatin1Char('/'));
    return Ondrel::Uni16String(text.utf16(), static_cast<std::size_t>(text.size()));
}
#endif

template <Ondrel::Uni16String (*kConvert)(const Ondrel::Uni16String&)>
void Paths(benchmark::State& state) {
    static const std::vector<Ondrel::Uni16String> kPaths = ColonPaths();
    for (const Ondrel::Uni16String& path : kPaths)
        if (kConvert(path) != PlainPath(path)) return state.SkipWithError("another path");
    for (auto _ : state)
        for (int round = 0; round < kRounds; ++round)
            for (const Ondrel::Uni16String& path : kPaths) {
                const Ondrel::Uni16String posix = kConvert(path);
                benchmark::DoNotOptimize(posix.data());
            }
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    std::vector<std::string> contenders = {"floor", "ondrel", "ICU", "iconv"};
    std::vector<std::string> skipped;
    RegisterAll<Floor>("floor");
    RegisterAll<Library>("ondrel");
    RegisterAll<Icu>("ICU");
    RegisterAll<Iconv>("iconv");
    const std::string paths = "J. colon to POSIX path";
    AddWork(paths, "floor", Paths<PlainPath>);
    AddWork(paths, "ondrel", Paths<Ondrel::MacPaths::HFSToPOSIX>);
#ifdef BENCH_HAS_QT
    RegisterAll<QtPeer>("QString");
    AddWork(paths, "QString", Paths<QtPath>);
    contenders.emplace_back("QString");
#else
    skipped.emplace_back("QString");
#endif
    return RunAndPrint(argc, argv, contenders, skipped);
}
