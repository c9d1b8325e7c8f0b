/** @file
 * Every public header of libqor but that of the default platform. */
#ifndef QOR_H
#define QOR_H

#include "qor_avl.h"     /* IWYU pragma: export */
#include "qor_base.h"    /* IWYU pragma: export */
#include "qor_dbg.h"     /* IWYU pragma: export */
#include "qor_dq.h"      /* IWYU pragma: export */
#include "qor_file.h"    /* IWYU pragma: export */
#include "qor_fsm.h"     /* IWYU pragma: export */
#include "qor_host.h"    /* IWYU pragma: export */
#include "qor_log.h"     /* IWYU pragma: export */
#include "qor_mam.h"     /* IWYU pragma: export */
#include "qor_pads.h"    /* IWYU pragma: export */
#include "qor_pdpwe3i.h" /* IWYU pragma: export */
#include "qor_pkt.h"     /* IWYU pragma: export */
#include "qor_systime.h" /* IWYU pragma: export */
#include "qor_types.h"   /* IWYU pragma: export */
#include "qor_walk.h"    /* IWYU pragma: export */
#include "qor_wdll.h"    /* IWYU pragma: export */

#endif
