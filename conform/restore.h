/// Restoring what a check has written, even when the check does not survive it.
#pragma once

#include "exchange.h"

namespace conform {

/// Until it goes, the record is to be restored, by this process or by the next one.
class RestoreLater {
public:
    RestoreLater(const RequestCode& code, const Bytes& record);
    RestoreLater(const RestoreLater&) = delete;
    RestoreLater& operator=(const RestoreLater&) = delete;
    RestoreLater(RestoreLater&&) = delete;
    RestoreLater& operator=(RestoreLater&&) = delete;
    ~RestoreLater();
};

/// Makes room that all processes share; to be called before any is started.
void prepare_restoring();

/// Writes what an earlier process has left unrestored, and reports that.
void restore_what_is_left();

} // namespace conform
