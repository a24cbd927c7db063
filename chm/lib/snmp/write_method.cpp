#include "write_method.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

int refuse(int status, const char* text)
{
    if (text) {
        fputs(text, stderr);
    }
    return status;
}

} // namespace

int check_write(const WriteRule& rule, const WriteValue& value)
{
    if (value.type != rule.type) {
        return refuse(SNMP_ERR_WRONGTYPE, rule.wrong_type);
    }
    if (value.length < rule.min_length || value.length > rule.max_length) {
        return refuse(SNMP_ERR_WRONGLENGTH, rule.wrong_length);
    }
    if (rule.accepts && !rule.accepts(integer_of(value))) {
        return refuse(SNMP_ERR_WRONGVALUE, rule.wrong_value);
    }
    return SNMP_ERR_NOERROR;
}

int32_t integer_of(const WriteValue& value)
{
    long number = 0;
    memcpy(&number, value.data, std::min(value.length, sizeof number));
    return static_cast<int32_t>(number);
}
