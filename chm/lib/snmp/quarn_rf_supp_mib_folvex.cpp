/// Supplemental redundancy objects: whether the configurations can be operated on.
#include "column.h"
#include "hactl.h"
#include "module_frame.h"

#include <cstdint>
#include <cstdio>

namespace {

enum quarn_rf_supp_mib_object : u_char {
    qRFSuppRunningConfigOperation = 6,
    qRFSuppStartupConfigOperation = 9,
};

u_char* get_quarn_rf_supp_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                              WriteMethod** write_method)
{
    static int32_t value;

    puts("Entering the get_quarn_rf_supp_mib..");
    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        puts("header_generic in get_quarn_rf_supp_mib returned NULL.");
        return nullptr;
    }
    switch (vp->magic) {
    case qRFSuppRunningConfigOperation: {
        constexpr int32_t operable_state = 2;
        value = hactl_supstate_get() == operable_state ? 1 : 5;
        puts("Returning Running_Config_oper...");
        return integer_value(value, var_len);
    }
    case qRFSuppStartupConfigOperation:
        value = 1;
        puts("Returning Startup_Config_oper...");
        return integer_value(value, var_len);
    default:
        return unknown_object();
    }
}

constexpr oid quarn_rf_supp_mib_variables_oid[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 198};

constexpr variable7 quarn_rf_supp_mib_variables[] = {
    {qRFSuppRunningConfigOperation, ASN_INTEGER, RONLY, get_quarn_rf_supp_mib, 3, {1, 1, 6}},
    {qRFSuppStartupConfigOperation, ASN_INTEGER, RONLY, get_quarn_rf_supp_mib, 3, {1, 1, 9}},
};

constexpr MibModule quarn_rf_supp_mib("quarn_rf_supp_mib", quarn_rf_supp_mib_variables,
                                      quarn_rf_supp_mib_variables_oid);

} // namespace

CHM_ENTRY_POINT void init_quarn_rf_supp_mib()
{
    register_variables(quarn_rf_supp_mib);
}

CHM_ENTRY_POINT void deinit_quarn_rf_supp_mib()
{
    deinit_module(quarn_rf_supp_mib);
}
