#include "convert/define.h"
#include "convert/com_ui2.list"
