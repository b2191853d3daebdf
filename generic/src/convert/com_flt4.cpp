#include "convert/define.h"
#include "convert/com_flt4.list"
