#include "convert/define.h"
#include "convert/com_flt8.list"
