/*
 * End-to-end scenarios that drive the module only through its two public
 * function tables, exactly as the conversion host does. The same source is
 * built into the Windows test host (kx_mkv.dll, run under wine) and into the
 * Linux one (libkx_mkv.so), so both write the same files from the same
 * synthetic samples, in the same order, in one process each: the track UIDs
 * come from the never-seeded runtime generator, so the order matters.
 */
#ifndef KX_TESTS_WINDOWS_SCENARIOS_H_
#define KX_TESTS_WINDOWS_SCENARIOS_H_

#include <stdio.h>

#include "include/kx_mkv/kx_mkv.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Runs every scenario, writing its files into `dir` (UTF-16, ending with the
 * platform's path separator). One line per scenario goes to `report`; the line
 * holds no path and no platform detail, so both hosts' reports must be equal.
 * Returns the number of failed checks (tables missing a row, an entry point
 * result that the interface fixes whatever the muxer does).
 */
int KxRunScenarios(const FileFormat* single, const FileMultiStreamFormat* multi,
                   const char16_t* dir, FILE* report);

/* Number of scenarios, and the file name (UTF-16, no directory) that scenario
 * `index` asks the module to write; no scenario writes any other file. */
int KxScenarioCount(void);
const char16_t* KxScenarioFileName(int index);

#ifdef __cplusplus
}
#endif

#endif /* KX_TESTS_WINDOWS_SCENARIOS_H_ */
