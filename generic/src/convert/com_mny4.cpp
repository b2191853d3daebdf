#include "convert/define.h"
#include "convert/com_mny4.list"
