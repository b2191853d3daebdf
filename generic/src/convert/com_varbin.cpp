#include "convert/define.h"
#include "convert/com_varbin.list"
