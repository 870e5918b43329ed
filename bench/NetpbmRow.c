/* netpbm's PackBits encoder. */
#include "bench/NetpbmRow.h"

#include <netpbm/pm_config.h>
#include <netpbm/runlength.h>

size_t MostNetpbmBytes(size_t rowBytes) {
    return pm_rlenc_maxbytes(rowBytes, PM_RLE_PACKBITS);
}

size_t PackNetpbmRow(const unsigned char* row, size_t rowBytes, unsigned char* codes) {
    size_t size = 0;
    pm_rlenc_compressbyte(row, codes, PM_RLE_PACKBITS, rowBytes, &size);
    return size;
}
