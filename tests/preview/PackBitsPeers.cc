// The slow encoder and the decoder.
#include "tests/preview/PackBitsPeers.h"

namespace Ondrel::Testing {

std::string Pieces::Joined() const {
    std::string all;
    for (const std::string& piece : pieces_)
        all += piece;
    return all;
}

char StepwisePackBits::Stored(unsigned char byte) const {
    if (!reversed_) return static_cast<char>(byte);
    unsigned out = 0;
    for (int bit = 0; bit < 8; ++bit)
        out = out << 1 | (static_cast<unsigned>(byte) >> bit & 1U);
    return static_cast<char>(out);
}

void StepwisePackBits::MakeRoom(std::size_t bytes) {
    if (capacity_ - buffer_.size() >= bytes) return;
    const std::size_t finished = literal_ == kNone ? buffer_.size() : literal_;
    pieces_.push_back(buffer_.substr(0, finished));
    buffer_.erase(0, finished);
    if (literal_ != kNone) literal_ = 0;
}

void StepwisePackBits::Put(unsigned char count, unsigned char byte) {
    MakeRoom(2);
    buffer_ += static_cast<char>(count);
    buffer_ += Stored(byte);
}

// One step; true when the run is used up.
bool StepwisePackBits::StepOnRun(unsigned char byte, long* run) {
    switch (state_) {
        case State::kIdle:
        case State::kAfterRepeat:
            literal_ = kNone;
            if (*run == 1) {
                Put(0, byte);
                literal_ = buffer_.size() - 2;
                state_ = State::kLiteralOpen;
                return true;
            }
            if (*run <= 128) {
                Put(static_cast<unsigned char>(1 - *run), byte);
                state_ = State::kAfterRepeat;
                return true;
            }
            Put(0x81, byte);
            *run -= 128;
            return false;

        case State::kLiteralOpen:
            if (*run == 1) {
                MakeRoom(1);
                buffer_ += Stored(byte);
                ++buffer_[literal_];
                if (buffer_[literal_] == 127) {
                    literal_ = kNone;
                    state_ = State::kIdle;
                }
                return true;
            }
            lastRepeat_ = *run <= 128 ? *run : 128;
            Put(static_cast<unsigned char>(1 - lastRepeat_), byte);
            *run -= lastRepeat_;
            state_ = State::kRepeatAfterLiteral;
            return *run == 0;

        case State::kRepeatAfterLiteral:
            if (*run == 1 && lastRepeat_ == 2 && buffer_[literal_] <= 125) {
                buffer_[literal_] = static_cast<char>(buffer_[literal_] + 2);
                buffer_[buffer_.size() - 2] = buffer_.back();
                state_ = buffer_[literal_] == 127 ? State::kIdle : State::kLiteralOpen;
            } else {
                state_ = State::kAfterRepeat;
            }
            return false;
    }
    return true;
}

void StepwisePackBits::Encode(std::string_view data, int extra) {
    state_ = State::kIdle;
    literal_ = kNone;
    for (std::size_t at = 0; at < data.size();) {
        const auto byte = static_cast<unsigned char>(data[at]);
        long run = 0;
        for (; at < data.size() && static_cast<unsigned char>(data[at]) == byte; ++at)
            ++run;
        if (at == data.size() && extra > 0) run += extra;
        while (!StepOnRun(byte, &run)) {
        }
    }
    literal_ = kNone;
}

void StepwisePackBits::Flush() {
    if (!buffer_.empty()) pieces_.push_back(buffer_);
    buffer_.clear();
}

bool DecodePackBits(std::string_view codes, std::string* bytes) {
    bytes->clear();
    while (!codes.empty()) {
        const auto count = static_cast<unsigned char>(codes[0]);
        codes.remove_prefix(1);
        if (count == 0x80) return false;
        const std::size_t taken = count < 0x80 ? count + 1U : 1U;
        if (taken > codes.size()) return false;
        if (count < 0x80)
            bytes->append(codes.substr(0, taken));
        else
            bytes->append(257U - count, codes[0]);
        codes.remove_prefix(taken);
    }
    return true;
}

}  // namespace Ondrel::Testing
