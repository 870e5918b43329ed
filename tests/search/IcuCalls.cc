// The counted functions. They are found before the library's own, as symbols of a program are.
#include "tests/search/IcuCalls.h"

#include <dlfcn.h>
#include <unicode/unorm.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <atomic>

#define TEXT_OF(name) TEXT_OF_EXPANDED(name)
#define TEXT_OF_EXPANDED(name) #name

namespace Ondrel::Testing {
namespace {

std::atomic<int> calls{0};

template <class Function>
Function Counted(Function, const char* name) {
    ++calls;
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

int IcuCalls() {
    return calls;
}

}  // namespace Ondrel::Testing

using Ondrel::Testing::Counted;

extern "C" {

__attribute__((visibility("default"))) std::int32_t unorm_compare(
    const UChar* a, std::int32_t aLength, const UChar* b, std::int32_t bLength,
    std::uint32_t options, UErrorCode* status) {
    return Counted(&unorm_compare, TEXT_OF(unorm_compare))(a, aLength, b, bLength, options, status);
}

__attribute__((visibility("default"))) std::int32_t unorm2_normalize(const UNormalizer2* form,
                                                                     const UChar* from,
                                                                     std::int32_t length, UChar* to,
                                                                     std::int32_t capacity,
                                                                     UErrorCode* status) {
    return Counted(&unorm2_normalize, TEXT_OF(unorm2_normalize))(form, from, length, to, capacity,
                                                                 status);
}

__attribute__((visibility("default"))) UChar* u_strFromUTF8(UChar* to, std::int32_t capacity,
                                                            std::int32_t* length, const char* from,
                                                            std::int32_t fromLength,
                                                            UErrorCode* status) {
    return Counted(&u_strFromUTF8, TEXT_OF(u_strFromUTF8))(to, capacity, length, from, fromLength,
                                                           status);
}

}  // extern "C"
