#include "convert/define.h"
#include "convert/com_bigdatetime.list"
