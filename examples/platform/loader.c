/*
 * A module of the agent that puts the platform's libraries into its global scope, where the MIB
 * modules find them: the agent's dlmod opens a library in a scope of its own.
 */
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <dlfcn.h>

static void* platform;

void init_platform_loader(void)
{
    /* RTLD_NOW: a symbol that the library lacks is reported here, not in the middle of a walk. */
    platform = dlopen(PLATFORM_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
    if (platform == NULL)
        snmp_log(LOG_ERR, "platform_loader: %s\n", dlerror());
}

void deinit_platform_loader(void)
{
    if (platform != NULL)
        dlclose(platform);
}
