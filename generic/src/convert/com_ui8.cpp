#include "convert/define.h"
#include "convert/com_ui8.list"
