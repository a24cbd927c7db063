/// Two modules that serve rows from memory, for comparison: `memory_old_api`, with almost no work
/// in the agent's old interface, and `memory_container`, with the agent's container of table rows.
/// The rows are those of the file CHM_BENCH_FILE, as `walk --dump` writes them.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/table_container.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

using Oid = std::vector<oid>;

struct Value {
    u_char type = 0;
    std::string bytes;
};

/// A row for the container: the index comes first.
struct Row {
    netsnmp_index index = {};
    std::vector<Value> values; ///< by column, from the table's first one on
};

using Rows = std::map<Oid, Row>;

struct Table {
    Oid entry;
    oid first_column = 0;
    Rows rows;
    Rows::iterator last; ///< served
};

std::vector<Table> tables;

/// Reads numbers, preceded by their count.
Oid read_numbers(std::istream& file)
{
    size_t count = 0;
    file >> count;
    Oid numbers(count);
    for (oid& number : numbers) {
        file >> number;
    }
    return numbers;
}

/// Reads a table's entry, a column, an index, a type and the bytes of a value from each line.
void read_tables()
{
    std::ifstream file(getenv("CHM_BENCH_FILE"));
    for (Oid entry; entry = read_numbers(file), file;) {
        oid column = 0;
        unsigned type = 0;
        file >> column;
        if (tables.empty() || tables.back().entry != entry) {
            tables.push_back({entry, column, {}, {}});
        }
        auto& values = tables.back().rows[read_numbers(file)].values;
        file >> type;
        const Oid bytes = read_numbers(file);
        values.resize(column - tables.back().first_column + 1);
        values.back() = {static_cast<u_char>(type), {bytes.begin(), bytes.end()}};
    }
    for (Table& table : tables) {
        table.last = table.rows.begin();
        for (auto& [index, row] : table.rows) {
            row.index = {index.size(), const_cast<oid*>(index.data())};
        }
    }
}

/// The row of an index, or the first one after it: mostly the one after the last row served.
const Row* find(Table& table, const oid* begin, const oid* end, bool exact)
{
    auto found = table.last;
    if (!std::equal(found->first.begin(), found->first.end(), begin, end)) {
        found = table.rows.lower_bound({begin, end});
    }
    const bool is_it = found != table.rows.end() &&
                       std::equal(found->first.begin(), found->first.end(), begin, end);
    if (is_it && !exact) {
        ++found;
    }
    if (found == table.rows.end() || (exact && !is_it)) {
        return nullptr;
    }
    table.last = found;
    return &found->second;
}

constexpr u_char columns_of_a_table = 32;

u_char* serve(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
              WriteMethod** write_method)
{
    Table& table = tables[vp->magic / columns_of_a_table];
    oid* const index = name + vp->namelen;
    const bool inside =
        *length > vp->namelen && snmp_oid_compare(name, vp->namelen, vp->name, vp->namelen) == 0;
    const Row* row = find(table, index, inside ? name + *length : index, exact != 0);
    if (row == nullptr) {
        return nullptr;
    }
    std::copy_n(vp->name, vp->namelen, name);
    std::copy_n(row->index.oids, row->index.len, index);
    *length = vp->namelen + row->index.len;
    *write_method = nullptr;
    const Value& value = row->values[vp->magic % columns_of_a_table];
    *var_len = value.bytes.size();
    return reinterpret_cast<u_char*>(const_cast<char*>(value.bytes.data()));
}

int handle(netsnmp_mib_handler*, netsnmp_handler_registration* registration,
           netsnmp_agent_request_info*, netsnmp_request_info* requests)
{
    const auto& table = *static_cast<Table*>(registration->my_reg_void);
    for (auto* request = requests; request != nullptr; request = request->next) {
        const auto* row = static_cast<const Row*>(netsnmp_container_table_row_extract(request));
        const auto* place = netsnmp_extract_table_info(request);
        if (row != nullptr && place != nullptr) {
            const Value& value = row->values[place->colnum - table.first_column];
            snmp_set_var_typed_value(request->requestvb, value.type, value.bytes.data(),
                                     value.bytes.size());
        }
    }
    return SNMP_ERR_NOERROR;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

void init_memory_old_api()
{
    read_tables();
    for (size_t number = 0; number < tables.size(); ++number) {
        const Table& table = tables[number];
        std::vector<variable1> columns;
        for (const Value& value : table.last->second.values) {
            const size_t column = columns.size();
            columns.push_back({static_cast<u_char>(number * columns_of_a_table + column),
                               value.type,
                               HANDLER_CAN_RONLY,
                               serve,
                               1,
                               {table.first_column + column}});
        }
        register_mib("memory", reinterpret_cast<const variable*>(columns.data()), sizeof(variable1),
                     columns.size(), table.entry.data(), table.entry.size());
    }
}

void init_memory_container()
{
    read_tables();
    for (Table& table : tables) {
        netsnmp_container* container = netsnmp_container_find("table_container");
        auto* info = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
        for (auto& [index, row] : table.rows) {
            CONTAINER_INSERT(container, &row);
        }
        const Row& first = table.last->second;
        for (size_t i = 0; i < first.index.len; ++i) {
            netsnmp_table_helper_add_index(info, ASN_INTEGER);
        }
        info->min_column = static_cast<unsigned>(table.first_column);
        info->max_column = info->min_column + static_cast<unsigned>(first.values.size()) - 1;
        auto* registration = netsnmp_create_handler_registration(
            "memory", handle, table.entry.data(), table.entry.size() - 1, HANDLER_CAN_RONLY);
        registration->my_reg_void = &table;
        netsnmp_container_table_register(registration, info, container,
                                         TABLE_CONTAINER_KEY_NETSNMP_INDEX);
    }
}
}
#pragma GCC visibility pop
