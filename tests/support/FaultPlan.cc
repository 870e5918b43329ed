// Wrappers for every entry of the system-call table, made by one template: each counts its call
// and either fails it or hands it on to the table that was in use before the plan.
#include "tests/support/FaultPlan.h"

#include <signal.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <string_view>
#include <type_traits>

#include "ondrel/platform/Syscalls.h"

namespace Ondrel::Testing {
namespace {

// --- Faults -------------------------------------------------------------------------------------

struct Plan {
    int first = 0;
    int error = 0;
    int times = 0;
    std::string call;
    int calls = 0;
    int fired = 0;
    std::string where;
    Syscalls below;
};

std::mutex planMutex;
Plan plan;

// Counts a call; the error it shall fail with, or 0.
int Strike(std::string_view name) {
    const std::lock_guard lock(planMutex);
    if (!plan.call.empty() && plan.call != name) return 0;
    ++plan.calls;
    if (plan.calls < plan.first) return 0;
    if (plan.times >= 0 && plan.fired >= plan.times) return 0;
    ++plan.fired;
    plan.where = name;
    return plan.error;
}

// The first part that has bytes, cut.
iovec CutPart(const iovec* parts, int count, std::size_t most) {
    int i = 0;
    while (i + 1 < count && parts[i].iov_len == 0)
        ++i;
    return count > 0 ? iovec{parts[i].iov_base, std::min(parts[i].iov_len, most)} : iovec{};
}

// The name of an entry, as a template argument.
template <std::size_t size>
struct Name {
    constexpr Name(const char (&literal)[size]) { std::copy_n(literal, size, text); }
    char text[size];
};

std::size_t OneByte(std::size_t size) {
    return std::min(size, std::size_t{1});
}

std::size_t Half(std::size_t size) {
    return size / 2;
}

// The start of a transfer, whose length is what `shorten` makes of it; other calls as they are.
template <Name name, class Function, class Shorten, class... Arguments>
auto Cut(Function function, Shorten shorten, Arguments... arguments) {
    constexpr std::string_view kName = name.text;
    if constexpr (kName == "pread" || kName == "pwrite") {
        const auto cut = [&](int fd, auto* buffer, std::size_t size, off_t offset) {
            return function(fd, buffer, shorten(size), offset);
        };
        return cut(arguments...);
    } else if constexpr (kName == "preadv2" || kName == "pwritev2") {
        const auto cut = [&](int fd, const iovec* parts, int count, off_t offset, int flags) {
            const iovec whole = CutPart(parts, count, std::numeric_limits<std::size_t>::max());
            const iovec part{whole.iov_base, shorten(whole.iov_len)};
            return function(fd, &part, 1, offset, flags);
        };
        return cut(arguments...);
    } else {
        return function(arguments...);
    }
}

// How an entry tells of an error.
enum class Style { kErrno, kPositive, kNegative };

template <Name name, Style style, auto entry, class Function>
struct Wrapper;

template <Name name, Style style, auto entry, class Result, class... Arguments>
struct Wrapper<name, style, entry, Result (*)(Arguments...)> {
    static Result Call(Arguments... arguments) {
        const int error = Strike(name.text);
        if (error == 0) return (plan.below.*entry)(arguments...);
        if (error == kShortTransfer) return Cut<name>((plan.below.*entry), OneByte, arguments...);
        if (error == kDieHalfWay) Cut<name>((plan.below.*entry), Half, arguments...);
        if (error == kDie || error == kDieHalfWay) ::kill(::getpid(), SIGKILL);
        if constexpr (std::string_view(name.text) == "close") (plan.below.*entry)(arguments...);
        if constexpr (style == Style::kPositive) return error;
        if constexpr (style == Style::kNegative) return -error;
        errno = error;
        return -1;
    }
};

int wrapped = 0;

template <Name name, auto entry, Style style = Style::kErrno>
void Wrap() {
    using Function = std::remove_reference_t<decltype(syscalls.*entry)>;
    syscalls.*entry = Wrapper<name, style, entry, Function>::Call;
    ++wrapped;
}

void WrapAll() {
    wrapped = 0;
    Wrap<"openat", &Syscalls::openat>();
    Wrap<"close", &Syscalls::close>();
    Wrap<"fstat", &Syscalls::fstat>();
    Wrap<"fstatat", &Syscalls::fstatat>();
    Wrap<"statx", &Syscalls::statx>();
    Wrap<"pread", &Syscalls::pread>();
    Wrap<"pwrite", &Syscalls::pwrite>();
    Wrap<"preadv2", &Syscalls::preadv2>();
    Wrap<"pwritev2", &Syscalls::pwritev2>();
    Wrap<"fadvise", &Syscalls::fadvise, Style::kPositive>();
    Wrap<"ftruncate", &Syscalls::ftruncate>();
    Wrap<"fdatasync", &Syscalls::fdatasync>();
    Wrap<"fsync", &Syscalls::fsync>();
    Wrap<"fcntl_lock", &Syscalls::fcntl_lock>();
    Wrap<"getdents64", &Syscalls::getdents64>();
    Wrap<"lseek", &Syscalls::lseek>();
    Wrap<"readlinkat", &Syscalls::readlinkat>();
    Wrap<"unlinkat", &Syscalls::unlinkat>();
    Wrap<"renameat2", &Syscalls::renameat2>();
    Wrap<"mkdirat", &Syscalls::mkdirat>();
    Wrap<"fchmod", &Syscalls::fchmod>();
    Wrap<"fchown", &Syscalls::fchown>();
    Wrap<"flistxattr", &Syscalls::flistxattr>();
    Wrap<"fgetxattr", &Syscalls::fgetxattr>();
    Wrap<"fsetxattr", &Syscalls::fsetxattr>();
    Wrap<"fremovexattr", &Syscalls::fremovexattr>();
    Wrap<"ring_init", &Syscalls::ring_init, Style::kNegative>();
    Wrap<"ring_submit", &Syscalls::ring_submit, Style::kNegative>();
    Wrap<"ring_wait", &Syscalls::ring_wait, Style::kNegative>();
}

constexpr int kEntries = 29;
static_assert(sizeof(Syscalls) == kEntries * sizeof(void (*)()),
              "a new entry of the table needs its line in WrapAll");

// --- Short transfers ----------------------------------------------------------------------------

std::size_t mostBytes = 0;
Syscalls belowShort;

ssize_t ShortRead(int fd, void* buffer, size_t size, off_t offset) {
    return belowShort.pread(fd, buffer, std::min(size, mostBytes), offset);
}

ssize_t ShortWrite(int fd, const void* buffer, size_t size, off_t offset) {
    return belowShort.pwrite(fd, buffer, std::min(size, mostBytes), offset);
}

ssize_t ShortReadParts(int fd, const iovec* parts, int count, off_t offset, int flags) {
    const iovec part = CutPart(parts, count, mostBytes);
    return belowShort.preadv2(fd, &part, 1, offset, flags);
}

ssize_t ShortWriteParts(int fd, const iovec* parts, int count, off_t offset, int flags) {
    const iovec part = CutPart(parts, count, mostBytes);
    return belowShort.pwritev2(fd, &part, 1, offset, flags);
}

}  // namespace

FaultPlan::FaultPlan(int n, int error, const std::string& call, int times) {
    plan = Plan{n, error, times, call, 0, 0, {}, syscalls};
    WrapAll();
    if (wrapped != kEntries) std::abort();
}

FaultPlan::~FaultPlan() {
    Lift();
}

void FaultPlan::Lift() {
    syscalls = plan.below;
}

bool FaultPlan::Fired() const {
    const std::lock_guard lock(planMutex);
    return plan.fired > 0;
}

int FaultPlan::Calls() const {
    const std::lock_guard lock(planMutex);
    return plan.calls;
}

std::string FaultPlan::Where() const {
    const std::lock_guard lock(planMutex);
    return plan.where;
}

ShortTransfers::ShortTransfers(int most) {
    mostBytes = static_cast<std::size_t>(most);
    belowShort = syscalls;
    syscalls.pread = ShortRead;
    syscalls.pwrite = ShortWrite;
    syscalls.preadv2 = ShortReadParts;
    syscalls.pwritev2 = ShortWriteParts;
}

ShortTransfers::~ShortTransfers() {
    syscalls.pread = belowShort.pread;
    syscalls.pwrite = belowShort.pwrite;
    syscalls.preadv2 = belowShort.preadv2;
    syscalls.pwritev2 = belowShort.pwritev2;
}

}  // namespace Ondrel::Testing
