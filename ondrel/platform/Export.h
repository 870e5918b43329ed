// The mark of what the shared libraries show: everything else stays hidden in them.
#ifndef ONDREL_PLATFORM_EXPORT_H
#define ONDREL_PLATFORM_EXPORT_H

#define ONDREL_EXPORT __attribute__((visibility("default")))

#endif
