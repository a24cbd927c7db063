#include "write_method.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

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
    if (rule.accepts && !rule.accepts(integer_of(value))) {
        if (rule.wrong_value) {
            fputs(rule.wrong_value, stderr);
        }
        return SNMP_ERR_WRONGVALUE;
    }
    return SNMP_ERR_NOERROR;
}

int32_t integer_of(const WriteValue& value)
{
    long number = 0;
    memcpy(&number, value.data, std::min(value.length, sizeof number));
    return static_cast<int32_t>(number);
}
