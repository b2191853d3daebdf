#include "convert/define.h"
#include "convert/com_i2.list"
