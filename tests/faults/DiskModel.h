// A disk that loses its power: what an operation asks the host to change is recorded, and every
// state of the folder that the disk may be found in afterwards is worked out. A change counts as
// stored once its file, or for a name its folder, was flushed after it; of all others any may be
// stored and any lost, whatever their order.
#ifndef TESTS_FAULTS_DISKMODEL_H
#define TESTS_FAULTS_DISKMODEL_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// The files of one folder by their names.
using DiskState = std::map<std::string, std::string>;

// One thing that the host was asked for.
struct DiskEvent {
    enum class Kind : unsigned char {
        kMake,
        kRename,
        kRemove,
        kWrite,
        kResize,
        kSyncFile,
        kSyncFolder
    };
    Kind kind = Kind::kWrite;
    int file = 0;        // a number for each file that there ever was
    std::string name;    // of kMake, kRename (from) and kRemove
    std::string target;  // of kRename
    std::size_t offset = 0;
    std::string bytes;
};

// Records what is done in one folder while it lives. Only one may be alive, and no other plan.
class DiskRecorder {
 public:
    explicit DiskRecorder(const Scratch& scratch);
    ~DiskRecorder();
    DiskRecorder(const DiskRecorder&) = delete;
    DiskRecorder& operator=(const DiskRecorder&) = delete;

    // Ends the recording.
    std::vector<DiskEvent> Take();
};

// The folder as it stands.
DiskState TakeDiskState(const std::string& folder);

// Calls `look` with each different state that a power cut at any moment of the events may leave
// behind, starting from `before`. `finished`: the cut came after the last event. Where more than
// `mostPending` changes are unflushed at once, some of the subsets are chosen at random.
void ForEachStateAfterAPowerCut(const DiskState& before, const std::vector<DiskEvent>& events,
                                std::size_t mostPending,
                                const std::function<void(const DiskState&, bool finished)>& look);

}  // namespace Ondrel::Testing

#endif
