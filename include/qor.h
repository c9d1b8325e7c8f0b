/* Every public header of libqor but that of the default platform. */
#ifndef QOR_H
#define QOR_H

#include "qor_base.h"
#include "qor_host.h"
#include "qor_log.h"
#include "qor_mam.h"
#include "qor_pkt.h"
#include "qor_types.h"

#endif
