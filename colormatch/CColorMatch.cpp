#include "colormatch/CColorMatch.h"
