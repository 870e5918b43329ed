// The family's output stream over an open file stream.
#include "ondrel/fil/FileOutputStream.h"

#include "ondrel/fil/fil.h"
#include "ondrel/filref/operations.h"

namespace Ondrel {

FileOutputStream::FileOutputStream(fil* f) : file(f) {}

bool FileOutputStream::writeByte(unsigned char byte) {
    lastWriteOk = filwri8(file, byte) == 0;
    return lastWriteOk;
}

bool FileOutputStream::writeBytes(const unsigned char* data, int size) {
    lastWriteOk = filwri(file, data, size) == 0;
    return lastWriteOk;
}

bool FileOutputStream::hasError() const {
    return lastWriteOk;
}

const char* FileOutputStream::getLastError() {
    if (file != nullptr) lastError = GetFileErrorMessage(file);
    return lastError.c_str();
}

void FileOutputStream::flush() {}

void FileOutputStream::close() {
    if (file == nullptr) return;
    fil* const closing = file;
    file = nullptr;  // first: closing may raise
    (void)closing->Close();
}

void FileOutputStream::discard() {
    if (file == nullptr) return;
    filref ref;
    (void)filrefnew(&ref, file);
    (void)fildel(ref);
}

int FileOutputStream::currentPosition() const {
    return filpos(file);
}

FileOutputStream::~FileOutputStream() {
    if (ownsFile) FileOutputStream::close();
}

}  // namespace Ondrel
