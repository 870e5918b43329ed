// The raise of the streams.
#include "ondrel/fil/fil.h"

namespace Ondrel {

void errgoto(errtyp* context, int value) {
    longjmp(context->context, value);
}

}  // namespace Ondrel
