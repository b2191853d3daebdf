#include "convert/define.h"
#include "convert/com_timea.list"
