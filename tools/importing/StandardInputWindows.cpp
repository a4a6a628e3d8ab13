#include "importing/StandardInput.h"

#include <cstdio>

#include <fcntl.h>
#include <io.h>

namespace qm {

void useStandardInputBytes()
{
    _setmode(_fileno(stdin), _O_BINARY);
}

} // namespace qm
