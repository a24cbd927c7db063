/* The platform database: the type of the chassis and the modules in its slots. */
#ifndef PDB_H
#define PDB_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Room to give pdb_get_mod_info, in bytes. */
enum { PDB_MOD_INFO_SIZE = 256 };

/** Writes the chassis type code. @return 0, or non-zero with nothing written */
int pdb_get_chassis_type(uint32_t* chassis_type);

/**
 * Fills the module information of a slot. Its second 16-bit field is the card identifier.
 * @param info PDB_MOD_INFO_SIZE bytes
 * @param two  always 2
 * @return 0, or non-zero when the slot holds no module
 */
int pdb_get_mod_info(const uint32_t* slot, void* info, uint32_t two);

#ifdef __cplusplus
}
#endif

#endif
