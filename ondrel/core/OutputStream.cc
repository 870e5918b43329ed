// The anchor of the abstract sink.
#include "ondrel/core/OutputStream.h"

namespace Ondrel {

OutputStream::~OutputStream() = default;

}  // namespace Ondrel
