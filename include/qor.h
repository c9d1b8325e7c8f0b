/** @file
 * Every public header of libqor but that of the default platform. */
#ifndef QOR_H
#define QOR_H

#include "qor_avl.h"
#include "qor_base.h"
#include "qor_dbg.h"
#include "qor_dq.h"
#include "qor_file.h"
#include "qor_fsm.h"
#include "qor_host.h"
#include "qor_log.h"
#include "qor_mam.h"
#include "qor_pads.h"
#include "qor_pdpwe3i.h"
#include "qor_pkt.h"
#include "qor_systime.h"
#include "qor_types.h"
#include "qor_walk.h"
#include "qor_wdll.h"

#endif
