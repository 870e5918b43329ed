// Whole documents and what is done to them, for the tests of faults, of crashes and of power cuts:
// a document "doc" with codes and a resource fork, its safe save, its swap, its preview and icon.
#ifndef TESTS_FAULTS_DOCUMENTSTEPS_H
#define TESTS_FAULTS_DOCUMENTSTEPS_H

#include <string>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileType.h"
#include "tests/faults/Harness.h"
#include "tests/preview/Pixels.h"

namespace Ondrel::Testing {

inline constexpr FourCC kDataType = MakeFourCC("DATA");

// The type that the documents are saved with.
const FileType& DocumentType();

// A fork of one resource, 'DATA' 128 with four bytes, and a sidecar with codes and a fork.
std::string SmallFork();
std::string SidecarBytes(const std::string& fork);

// Folders to begin with.
void NothingThere(const Scratch& scratch);
void OneFile(const Scratch& scratch);
void WholeDocument(const Scratch& scratch);
void DocumentAndFinished(const Scratch& scratch);
void DocumentAndFinishedWithFork(const Scratch& scratch);

void TellCode(OSErr code, Answer* answer);

// As an application saves: a new version beside the document, flushed and closed, takes its place;
// what is left of an attempt that failed is deleted.
void SaveSafely(const Scratch& scratch, Answer* answer);

// "finished" takes the place of "doc".
void Swap(const Scratch& scratch, Answer* answer);

// Made once, so that what the picture itself takes is none of an operation's business.
const OwnedPix& ThePicture();

void WritePreview(const Scratch& scratch, Answer* answer);
void WriteIcon(const Scratch& scratch, Answer* answer);

}  // namespace Ondrel::Testing

#endif
