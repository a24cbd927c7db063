/// What event handlers hand back to the agent.
#pragma once

#include "agent.h"
#include "bounded_copy.h"

#include <cstddef>

/// Hands the notification's OID to the caller of an event handler.
template <size_t Length>
void name_notification(const oid (&notification)[Length], oid* trap_oid, size_t* trap_oid_length)
{
    __memcpy_to_buf(MAX_OID_LEN * sizeof(oid), trap_oid, notification, sizeof notification);
    *trap_oid_length = Length;
}
