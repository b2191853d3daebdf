#include "convert/define.h"
#include "convert/com_unichar.list"
