#include "convert/define.h"
#include "convert/com_date.list"
