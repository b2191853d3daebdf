#include "convert/define.h"
#include "convert/com_i8.list"
