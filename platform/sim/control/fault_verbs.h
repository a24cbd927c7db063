/// What chmctl can ask of the faults on demand. Arguments that make no sense throw
/// std::runtime_error.
#pragma once

#include <nlohmann/json.hpp>

namespace sim {

/// Sets a fault. @return how it is shown
nlohmann::json fault_verb(const nlohmann::json& arguments);

/// All faults that are set.
nlohmann::json faults_verb(const nlohmann::json& arguments);

/// Clears the fault whose number is given, else all. @return those that are left
nlohmann::json clear_faults_verb(const nlohmann::json& arguments);

} // namespace sim
