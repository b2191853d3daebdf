#include "convert/define.h"
#include "convert/com_varchar.list"
