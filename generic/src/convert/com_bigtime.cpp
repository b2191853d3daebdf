#include "convert/define.h"
#include "convert/com_bigtime.list"
