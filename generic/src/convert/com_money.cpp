#include "convert/define.h"
#include "convert/com_money.list"
