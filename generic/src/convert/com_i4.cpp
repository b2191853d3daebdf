#include "convert/define.h"
#include "convert/com_i4.list"
