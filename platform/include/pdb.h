/* The platform database: the type of the chassis and the modules in its slots. */
#ifndef PDB_H
#define PDB_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Room to give pdb_get_mod_info, in bytes. */
enum { PDB_MOD_INFO_SIZE = 256 };

/*
 * The types of chassis whose transceivers report readings as integers whatever their calibration;
 * on all others those with external calibration report reals.
 */
#define PDB_INTEGER_READING_CHASSIS 19, 20, 21, 22, 27, 28, 29, 36, 37, 38, 40, 41, 42, 43

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
