#include "convert/define.h"
#include "convert/com_i1.list"
