#include "convert/define.h"
#include "convert/com_ui4.list"
