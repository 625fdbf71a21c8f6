/*
 * The policy rule repository: the whole exported interface.
 */
#ifndef ZAR_ZAR_H
#define ZAR_ZAR_H

#include "zar/compose.h"
#include "zar/core.h"
#include "zar/lifecycle.h"
#include "zar/objects.h"
#include "zar/pmtr.h"
#include "zar/present.h"
#include "zar/records.h"
#include "zar/types.h"

#endif
