/*
 * All that the MIB modules call of a platform. A platform library, or several together, define
 * every function and both variables with C linkage; chm-conform checks them.
 *
 * Thread: the agent calls the modules on one thread, and they call the platform on the same one.
 * Events are delivered on it too, from the agent's loop and never from within another call.
 *
 * Ownership: a block that a call returns is the caller's, allocated with the process's malloc and
 * released with free, whatever the result. What a caller passes stays the caller's; a platform
 * keeps copies. An event's message and payload are the transport's.
 */
#ifndef PLATFORM_H
#define PLATFORM_H

#include "platform_indexes.h"
#include "platform_messages.h"
#include "platform_records.h"

#include "agent_ext.h"
#include "bounded_copy.h"
#include "cmi.h"
#include "evlog.h"
#include "hactl.h"
#include "if_index.h"
#include "ipcx.h"
#include "pdb.h"
#include "port_client.h"
#include "port_manager.h"
#include "rcode.h"

#endif
