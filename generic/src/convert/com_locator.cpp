#include "convert/define.h"
#include "convert/com_locator.list"
