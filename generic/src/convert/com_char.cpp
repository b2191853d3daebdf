#include "convert/define.h"
#include "convert/com_char.list"
