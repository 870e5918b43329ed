// The file stream: compact, big-endian, buffered twice. This is the chief header of the streams.
//
//   fil f;
//   if (filope(&f, nullptr, reference) == 0) {
//       int version = filrea16(&f);
//       ...
//   }
//   filclo(&f);
//
// Shapes. A `fil` is a small handle that the caller owns, usually on its stack. From open to close
// it points to a `sysinfrec`, which the stream owns: the open fork, the latched error and two
// buffers of 16384 bytes. While one buffer is consumed or filled, the other is read ahead or
// written behind.
//
// Stored values are big-endian, unaligned, with nothing between them. Positions are bytes from the
// start of the data fork, below 2^31; larger files are not supported.
//
// Results. 0 success; -1 general failure; -2 busy (fildel) or no record (filerr); -3 end of file,
// or the file is locked or open already. A function that gives a platform error code instead says
// so.
//
// Errors. The first failure is latched in the record, and the stream then fails until it is moved
// (filpos) or closed. With an armed error context a failure does not return but resumes the caller
// at the place where the context was armed:
//
//   errtyp e;
//   if (int code = setjmp(e.context)) { filclo(&f); return code; }   // -1 or -3
//   filope(&f, &e, reference);
//
// Objects between that place and the failing call are not destroyed. Misuse (no open stream, or one
// open in the other direction) is reported through `debug`, gives -1 and is never raised.
//
// Threads. A stream belongs to one thread at a time.
#ifndef ONDREL_FIL_FIL_H
#define ONDREL_FIL_FIL_H

#include <csetjmp>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/lasterror.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/FileManager.h"

namespace Ondrel {

// --- Shapes -------------------------------------------------------------------------------------

// A caller's recovery point, armed with setjmp(e.context).
struct errtyp {
    jmp_buf context;
};

// Resumes execution where the context was armed, with `value`. Never returns.
[[noreturn]] ONDREL_EXPORT void errgoto(errtyp* context, int value);

inline constexpr int kFilBufferSize = 16384;

// The position of a buffer that holds nothing.
inline constexpr int kFilNoPosition = 2147483647;

// Bits of sysinfrec::mode; 0 is a record that is attached but not open.
inline constexpr unsigned short kFilModeRead = 1;
inline constexpr unsigned short kFilModeWrite = 2;
inline constexpr unsigned short kFilModeDirect = 4;

// The platform state of one stream. Its valid bytes are those that a buffer's last transfer
// brought; for a buffer being written, those between its start and the cursor or the tail length.
struct sysinfrec {
    unsigned short path[kFilrefSize];  // colon path, NUL-terminated
    FSForkIOParam request1;            // every transfer of buffer 1
    FSForkIOParam request2;            // every transfer of buffer 2
    short forkRef;                     // the open data fork
    short resourceRef;                 // a resource file to close with the stream; 0 for none
    int forkSize;                      // reading: the fork's size, -1 while unknown
    short error;                       // the latched platform error code
    unsigned short mode;
    errtyp* errorContext;  // the caller's, or null
    int position1;         // where buffer 1 belongs in the fork
    int position2;
    int tailLength;  // writing: bytes of the current buffer that close must write
    unsigned char buffer1[kFilBufferSize];
    unsigned char buffer2[kFilBufferSize];  // directly behind buffer 1

    // The path as a specification, and the reference of the file if it exists: 0, -43, or -108.
    ONDREL_EXPORT void getFileSpec(FileSpec& out) const;
    ONDREL_EXPORT short getFSRef(FSRef& out) const;

    // If the file is an alias, the path becomes that of its target. A platform error code.
    ONDREL_EXPORT short resolveAlias();

    // Set the path.
    ONDREL_EXPORT void setFileSpec(const FileSpec& spec);
    ONDREL_EXPORT int setFilref(const filref& ref, int flags);
};

// The stream handle.
struct ONDREL_EXPORT fil {
    sysinfrec* sys = nullptr;         // null when no record is attached
    unsigned char* cursor = nullptr;  // the next byte in the current buffer
    int count = 0;                    // reading: unread bytes; writing: free bytes

    fil() = default;
    fil(const fil&) = delete;
    fil& operator=(const fil&) = delete;
    ~fil();  // closes; a failure that would be raised from here ends the process

    // Writes what is buffered, closes the fork and releases the record, whatever fails. 0; -1,
    // raised or returned, when the fork could not be closed; -1 without a record. lasterror is the
    // code. A failed write of the last buffer is not reported: flush first (filflu) where that
    // matters.
    int Close();

    // The file of an open stream; an empty specification without a record.
    void GetFileSpec(FileSpec& out) const;
};

// --- Open, save, close --------------------------------------------------------------------------

// Open an existing file for reading; links and aliases are followed.
//   -43  no such file; never raised; the record is released
//   -3   open for writing elsewhere, or no permission; raised, or returned with the record released
//   -1   any other failure, in the same way; a reference without text leaves the record attached,
//   also
//        when it is returned, until filclo
// filope sets lasterror to the outcome of the path's conversion.
ONDREL_EXPORT int filope(fil* f, errtyp* e, const filref& ref);
ONDREL_EXPORT int openFile(fil* f, errtyp* e, const FileSpec& spec);

// Create a file for writing, with the codes of the file type `typeId` where that is registered; an
// existing file is deleted first. 0, or -1 raised or returned, with the platform code in the
// record, which stays attached until filclo. A file that was made and cannot be opened is deleted.
ONDREL_EXPORT int filsav(fil* f, errtyp* e, const filref* ref, unsigned int typeId);
ONDREL_EXPORT int saveFile(fil* f, errtyp* e, const FileSpec& spec, unsigned int typeId);

// Open an existing file for writing in place, from its start; bytes that are not written over stay,
// and the file is never cut. Results as filsav.
ONDREL_EXPORT int filsavmod(fil* f, errtyp* e, const filref& ref);

// The second halves of the functions above, on a stream whose record holds the path. `how`: 0
// create, 1 delete if there and create, 2 neither; any other value acts as 1.
ONDREL_EXPORT int filopetail(fil* f, int readWrite);
ONDREL_EXPORT int filsavtail(fil* f, int how, unsigned int typeId);

ONDREL_EXPORT int filclo(fil* f);

// Installs `e` as the stream's error context (null: none) and answers the one before; all ones for
// a stream without a record.
ONDREL_EXPORT errtyp* filerr(fil* f, errtyp* e);

// --- Small file operations ----------------------------------------------------------------------

// The file can be opened for reading.
ONDREL_EXPORT bool filexist(const filref& ref);

// Deletes the file with its sidecar. 0, -2 when it is busy, else -1; lasterror is the platform
// code.
ONDREL_EXPORT int fildel(const filref& ref);

// The same in up to four attempts over 1.4 seconds.
ONDREL_EXPORT int fildelwai(const filref& ref);

// The file is of the registered type, or its type cannot be judged; judged by extension first when
// `flag` is set, else by codes first.
ONDREL_EXPORT bool fileHasType(const FileSpec& spec, unsigned int typeId, bool flag);

// The colon path of a specification.
ONDREL_EXPORT Uni16String GetFilePath(const FileSpec& spec);

// --- Values -------------------------------------------------------------------------------------

// Slow paths of the inline functions below: entered when the current buffer cannot serve, with
// `count` already decreased by the width.
ONDREL_EXPORT int filrea8sub(fil* f);
ONDREL_EXPORT int filrea16sub(fil* f);
ONDREL_EXPORT int filrea32sub(fil* f);
ONDREL_EXPORT int filwri8sub(fil* f, int value);
ONDREL_EXPORT int filwri16sub(fil* f, int value);
ONDREL_EXPORT int filwri32sub(fil* f, int value);
ONDREL_EXPORT bool fileofsub(fil* f);

// The same of the blocks and of the move: these take any stream, in any state.
ONDREL_EXPORT int filreasub(fil* f, unsigned char* dst, int n);
ONDREL_EXPORT int filwrisub(fil* f, const unsigned char* src, int n);
ONDREL_EXPORT int filpossub(fil* f, int position);

// Read a value: 0 to 255, 0 to 65535, or 32 bits as a signed int; -3 at the end of the file, else
// -1. A stored 32-bit value can look like a failure: arm an error context where that matters.
inline int filrea8(fil* f);
inline int filrea16(fil* f);
inline int filrea32(fil* f);

// Write the low 8, 16 or 32 bits of a value: 0 or -1.
inline int filwri8(fil* f, int value);
inline int filwri16(fil* f, int value);
inline int filwri32(fil* f, int value);

// True when no byte is left to read, or after a failure; false on a stream being written; true on a
// closed one.
inline bool fileof(fil* f);

// Blocks of `n` bytes: 0 or a negative result. A negative `n` gives -1 and 0 touches nothing. Bytes
// that arrived before a failure stay in `dst`; bytes taken before a failure stay written.
ONDREL_EXPORT inline int filrea(fil* f, unsigned char* dst, int n);
ONDREL_EXPORT inline int filwri(fil* f, const unsigned char* src, int n);

// The size of the data fork on disk, without what is still in the buffers, or -1.
ONDREL_EXPORT int filgeteof(fil* f);

// --- Positions and length markers ---------------------------------------------------------------

// The position of the next byte; -1 when the stream is not open for reading or writing.
ONDREL_EXPORT int filpos(fil* f);

// Moves there, and clears a latched error. Reading: -3 behind the end of the file. Writing: a move
// behind the data leaves a gap. A negative position latches -40 and gives -1; nothing buffered is
// lost.
ONDREL_EXPORT inline int filpos(fil* f, int position);

// The size of the data fork. While writing, what is still in the buffers may not count. -1 when it
// cannot be had, and while a failed write is latched, which this call never clears.
ONDREL_EXPORT int filgetsiz(fil* f);

// A marker of 4 bytes that holds the number of bytes behind it up to the end of a block. filwripos
// writes a placeholder and answers its position; filwrilen, at the end of the block, patches it;
// filreapos reads one and answers the position of the end of its block.
//
//   int marker = filwripos(&f);  ... the block ...  filwrilen(&f, marker);
//
// A failed write that is latched, or met on the way to the marker, stays latched: then nothing is
// patched, the result is -1, and the stream refuses to write until it is moved or closed.
ONDREL_EXPORT int filwripos(fil* f);
ONDREL_EXPORT int filwrilen(fil* f, int markerPosition);
ONDREL_EXPORT int filreapos(fil* f);

// The same with 2 bytes. filwripos16 answers the position behind its placeholder. A block of more
// than 65535 bytes is dropped: 0 is stored, the stream stands behind the marker, and the answer is
// false.
ONDREL_EXPORT int filwripos16(fil* f);
ONDREL_EXPORT bool filwrilen16(fil* f, int afterMarker);

// --- Errors and messages ------------------------------------------------------------------------

// The state of a stream: 0 while bytes, or free bytes, are left in the buffer or nothing is
// latched; -3 at the end of the file; -1 after another failure, or when it is not open for reading
// or writing; -2 without a record.
ONDREL_EXPORT int filerr(const fil* f);

// The sentence for the user, in UTF-8: what kind of error, what the stream was doing, and with
// which file. For a null stream it tells of lasterror; a stream's own message clears lasterror.
ONDREL_EXPORT std::string GetFileErrorMessage(const fil* f);

}  // namespace Ondrel

#include "ondrel/fil/inline.h"

#endif
