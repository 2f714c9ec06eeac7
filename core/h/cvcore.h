// cvcore.h: the whole library. A client that uses one family may include that family's header instead.
#ifndef CVCORE_H
#define CVCORE_H

#include "cvbase.h"

#include "baseobj.h"
#include "hierarchy.h"
#include "safemem.h"
#include "salloc.h"
#include "sdlist.h"
#include "sexcept.h"
#include "smap.h"
#include "strbuffer.h"
#include "strclss.h"
#include "striter.h"
#include "strmap.h"
#include "tablemem.h"

#endif
