#include "convert/define.h"
#include "convert/com_bit.list"
