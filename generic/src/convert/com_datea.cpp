#include "convert/define.h"
#include "convert/com_datea.list"
