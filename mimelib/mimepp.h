#pragma once

/// Stand-in for the part of the message library mimelib that this project calls: parsing only.
///
/// All objects of a message share one buffer with its text. Lists (addresses, parameters, body
/// parts) are parsed while they are walked: each `Next` parses one element. So time is linear in
/// the size of any message, and memory does not depend on the number of elements. An element is
/// valid until sixteen later ones of its list were requested, and at most as long as the message.

#include "mimelib/address.h"
#include "mimelib/component.h"
#include "mimelib/decode.h"
#include "mimelib/entity.h"
#include "mimelib/headers.h"
#include "mimelib/media_type.h"
#include "mimelib/string.h"

/// Does nothing: this library needs no preparation.
inline void DwInitialize() {}
