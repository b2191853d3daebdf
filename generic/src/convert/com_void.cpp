#include "convert/define.h"
#include "convert/com_void.list"
