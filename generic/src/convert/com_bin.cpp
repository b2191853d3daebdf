#include "convert/define.h"
#include "convert/com_bin.list"
