/* The whole public interface of libvdxcomn. Each header below also stands alone. */
#ifndef VDXCOMN_H
#define VDXCOMN_H

#include "vdxcomn/batch.h"
#include "vdxcomn/charset.h"
#include "vdxcomn/column.h"
#include "vdxcomn/config.h"
#include "vdxcomn/conversions.h"
#include "vdxcomn/convert.h"
#include "vdxcomn/date.h"
#include "vdxcomn/dateformat.h"
#include "vdxcomn/dateparse.h"
#include "vdxcomn/datepart.h"
#include "vdxcomn/errors.h"
#include "vdxcomn/fault.h"
#include "vdxcomn/frame.h"
#include "vdxcomn/intl.h"
#include "vdxcomn/list.h"
#include "vdxcomn/money.h"
#include "vdxcomn/nulls.h"
#include "vdxcomn/number.h"
#include "vdxcomn/thread.h"
#include "vdxcomn/types.h"
#include "vdxcomn/version.h"
#include "vdxcomn/wire.h"

#endif
