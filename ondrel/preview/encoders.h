// Encoders: rows of pixel bytes go in, a packed stream comes out and is handed to an output.
//
// PackBits, the one code there is, as pictures and image files use it:
//
//   00..7F n    n + 1 bytes follow as they are            01 02 02 03  ->  03 01 02 02 03
//   81..FF n    the next byte stands for 257 - n of them  05 05 05     ->  FE 05
//   80          ends a stream, where one is wanted
//
// Two equal bytes between single ones stay literal, where that is no longer. Every call of Encode
// gives codes that can be unpacked without what came before.
#ifndef ONDREL_PREVIEW_ENCODERS_H
#define ONDREL_PREVIEW_ENCODERS_H

#include <array>
#include <cstddef>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Where finished bytes go.
class ONDREL_EXPORT KesEncoderOutput {
 public:
    virtual void WriteEncoded(const unsigned char* data, unsigned long length) = 0;

 protected:
    ~KesEncoderOutput() = default;
};

// What encoders have in common. An output that throws leaves an encoder that can only be destroyed.
class ONDREL_EXPORT KesEncoder {
 public:
    // `width` pixels of `depth` bits a row. A `bufferSize` of 0 stands for one row, and at least
    // 65536 bytes. The output is not owned. Throws what the allocation throws.
    KesEncoder(unsigned width, unsigned depth, KesEncoderOutput* output, unsigned bufferSize);
    virtual ~KesEncoder();
    KesEncoder(const KesEncoder&) = delete;
    KesEncoder& operator=(const KesEncoder&) = delete;

    virtual void EncodeRaw(const unsigned char* data, int length) = 0;

    // Encodes `pixels` pixels; a row that is shorter than the full width is filled up with copies
    // of its last byte.
    virtual void EncodeRecord(const unsigned char* row, int pixels) = 0;

    // Hands over what is still in the buffer.
    virtual void Flush() = 0;

    // Reverses the order of the bits in each of `length` bytes; `out` may be `in`. A length of 0 or
    // less does nothing.
    static void BitInversion(const unsigned char* in, int length, unsigned char* out);

    // Entry i is i with its bits in reverse order.
    static const std::array<unsigned char, 256> mBitRevTab;

 protected:
    unsigned width_;
    unsigned depth_;
    unsigned rowBytes_;
    KesEncoderOutput* output_;
    unsigned char* buffer_;  // owned
    unsigned bufferSize_;
};

class ONDREL_EXPORT KesPackBitsEncode : public KesEncoder {
 public:
    // Rows of one bit a pixel come out with the bits of each byte reversed. `endMark`: every Flush
    // ends with the byte 80.
    KesPackBitsEncode(int width, int depth, bool endMark, KesEncoderOutput* output);
    ~KesPackBitsEncode() override;

    // Encodes `length` bytes and `extra` more copies of the last one. A length of 0 or less writes
    // nothing, an `extra` below 0 adds nothing. The output is called when the buffer is full.
    void Encode(const unsigned char* data, int length, int extra);

    void EncodeRaw(const unsigned char* data, int length) override;
    void EncodeRecord(const unsigned char* row, int pixels) override;
    void Flush() override;

    // Entry i is i.
    static const std::array<unsigned char, 256> mNoRevTab;

 protected:
    class Packer;  // one call of Encode

    bool endMark_;
    unsigned char* cursor_;  // the next free byte in the buffer
    const unsigned char* table_;
};

// Writes into a fixed area.
class ONDREL_EXPORT PackBitsBuff : public KesEncoderOutput {
 public:
    // Owns the area, which comes from array new, or is null and has room for nothing.
    PackBitsBuff(unsigned char* area, unsigned long capacity);
    virtual ~PackBitsBuff();
    PackBitsBuff(const PackBitsBuff&) = delete;
    PackBitsBuff& operator=(const PackBitsBuff&) = delete;

    // Throws the C string "Packbits overflow", and writes nothing, where the area has no room.
    void WriteEncoded(const unsigned char* data, unsigned long length) override;

 private:
    unsigned char* area_;
    unsigned long capacity_;

 public:
    unsigned char* position;  // the next byte to be written, in the area
};

}  // namespace Ondrel

#endif
