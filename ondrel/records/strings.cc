// Strings stored in documents.
#include "ondrel/records/strings.h"
