#include "write_method.h"

#include <cstdio>

int check_write(const WriteRule& rule, const WriteValue& value)
{
    if (value.type != rule.type) {
        fputs(rule.wrong_type, stderr);
        return SNMP_ERR_WRONGTYPE;
    }
    if (value.length > rule.max_length) {
        fputs(rule.wrong_length, stderr);
        return SNMP_ERR_WRONGLENGTH;
    }
    return SNMP_ERR_NOERROR;
}
