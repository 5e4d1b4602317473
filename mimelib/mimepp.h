#ifndef MIMELIB_MIMEPP_H
#define MIMELIB_MIMEPP_H

/// Stand-in for the part of the message library mimelib that this project calls: parsing only.
///
/// A message is parsed over one buffer that all objects share; what an accessor returns is a slice
/// of it. Lists (addresses, parameters, body parts) are not built but walked: each `Next` parses on
/// from where its element ended, so that neither time nor memory grows beyond the message, whatever
/// a stranger puts into it. An element stays valid until sixteen more of its list were asked for,
/// and never longer than the message.

#include "mimelib/address.h"
#include "mimelib/codes.h"
#include "mimelib/component.h"
#include "mimelib/decode.h"
#include "mimelib/entity.h"
#include "mimelib/headers.h"
#include "mimelib/media_type.h"
#include "mimelib/string.h"

/// Prepares the library. Ours needs no preparation.
inline void DwInitialize() {}

#endif
