#pragma once

#include <string>
#include <string_view>

#include "storage/app_context.h"

// The main INI file of a context and the directories it names. Paths are UTF-8 with "/" as separator.

namespace fmt_64 {

/// Reads the main INI file and the settings kept in the context itself (MAXREPEAT, GUID_OPTION, ...).
/// An earlier main INI file is released first; when `path` is no file that can be read, mainIni stays null
/// and the settings stay. Includes are looked for in the system directory, or beside the executable while
/// that is unset.
void velor_MainIni_Init(app::VelorAppContext* ctx, const std::string& path);

/// Store one directory, with a "/" added when the text ends in neither "/" nor "\"; an empty text unsets it.
void velor_init_ExecDir(app::VelorAppContext* ctx, std::string_view path);
void velor_init_DataPath(app::VelorAppContext* ctx, std::string_view path);
void velor_init_DepositPath(app::VelorAppContext* ctx, std::string_view path);

/// The stored directories, "" while unset.
std::string GetExecDir(const app::VelorAppContext* ctx);
std::string GetDataPath(const app::VelorAppContext* ctx);
std::string GetDepositPath(const app::VelorAppContext* ctx);

/// The same directories read from the INI file anew: backslashes become slashes, and a relative path is
/// folded to lower case and put behind `base` (backup::CorPath). Without a Datapath the data directory is
/// base + "datai/"; without the other two keys they are base + "workdir/" and base + "datai/deposit/".
std::string GetDataPath(const app::VelorAppContext* ctx, std::string_view base);
std::string GetWorkDir(const app::VelorAppContext* ctx, std::string_view base);
std::string GetDepositPath(const app::VelorAppContext* ctx, std::string_view base);

/// GetWorkDir as the tools and the formats use it: with "/" at the end, and "workdir" of the system directory
/// for an empty value.
std::string WorkDirectoryPath(const app::VelorAppContext* ctx);

/// Stores whether formats are kept in decompiled form. The first and the third flag have no effect.
void velor_set_options(app::VelorAppContext* ctx, bool reserved1, bool decompiled, bool reserved3);

/// Switches the extended format language, and chooses how it reads records.
void velor_enable_xpft(app::VelorAppContext* ctx, bool enabled, int cacheOption);
/// Allows or forbids the record-changing commands of the format language.
void velor_enable_xpft_update(app::VelorAppContext* ctx, bool enabled);

}  // namespace fmt_64
