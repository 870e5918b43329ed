// What the PackBits encoder is compared with: a slow encoder that takes one step at a time, a
// decoder that shares nothing with either, and an output that keeps what it is given.
#ifndef TESTS_PREVIEW_PACKBITSPEERS_H
#define TESTS_PREVIEW_PACKBITSPEERS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/preview/encoders.h"

namespace Ondrel::Testing {

// Keeps each piece by itself.
class Pieces : public KesEncoderOutput {
 public:
    void WriteEncoded(const unsigned char* data, unsigned long length) override {
        pieces_.emplace_back(reinterpret_cast<const char*>(data), length);
    }
    const std::vector<std::string>& Get() const { return pieces_; }
    std::string Joined() const;
    void Clear() { pieces_.clear(); }

 private:
    std::vector<std::string> pieces_;
};

// The encoder as a machine of four states over runs, with a buffer of `capacity` bytes (130 at
// least). `reversed`: the bits of each stored byte are.
class StepwisePackBits {
 public:
    StepwisePackBits(std::size_t capacity, bool reversed)
        : capacity_(capacity), reversed_(reversed) {}

    void Encode(std::string_view data, int extra);
    void Flush();

    const std::vector<std::string>& Get() const { return pieces_; }
    void TakePieces() { pieces_.clear(); }

 private:
    enum class State { kIdle, kLiteralOpen, kRepeatAfterLiteral, kAfterRepeat };
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    bool StepOnRun(unsigned char byte, long* run);
    void MakeRoom(std::size_t bytes);
    void Put(unsigned char count, unsigned char byte);
    char Stored(unsigned char byte) const;

    std::size_t capacity_;
    bool reversed_;
    std::string buffer_;
    std::vector<std::string> pieces_;
    State state_ = State::kIdle;
    std::size_t literal_ = kNone;  // where the open literal's count stands
    long lastRepeat_ = 0;
};

// Decodes; false when the codes end within one, or hold the byte 80.
bool DecodePackBits(std::string_view codes, std::string* bytes);

}  // namespace Ondrel::Testing

#endif
