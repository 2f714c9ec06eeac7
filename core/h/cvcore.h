// cvcore.h: the whole library. A client that uses one family may include that family's header instead.
#ifndef CVCORE_H
#define CVCORE_H

#include "cvbase.h"

#include "base64.h"
#include "baseobj.h"
#include "crash.h"
#include "crashlog.h"
#include "curdir.h"
#include "damage.h"
#include "describe.h"
#include "errctx.h"
#include "excdlg.h"
#include "filecodes.h"
#include "hierarchy.h"
#include "modstate.h"
#include "narrow.h"
#include "safefile.h"
#include "safemem.h"
#include "salloc.h"
#include "sdlist.h"
#include "sexcept.h"
#include "sfile.h"
#include "sfind.h"
#include "shglobal.h"
#include "sioexcept.h"
#include "smap.h"
#include "starget.h"
#include "strbuffer.h"
#include "strclss.h"
#include "striter.h"
#include "strmap.h"
#include "tablemem.h"

#endif
