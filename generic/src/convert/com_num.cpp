#include "convert/define.h"
#include "convert/com_num.list"
