// Peers that read files, with their memory in holders.
#pragma once

#include <boost/property_tree/info_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <glib.h>

// Names are bytes here, so nothing is converted.
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include <memory>
#include <string>

namespace bench {

struct FreeKeyFile {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

// Returns null if the file cannot be read.
inline KeyFile LoadKeyFile(const std::string& path) {
    KeyFile file(g_key_file_new());
    const bool good = g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr);
    return good ? std::move(file) : nullptr;
}

inline bool KeyFileHas(const KeyFile& file, const std::string& section, const std::string& key) {
    char* value = g_key_file_get_value(file.get(), section.c_str(), key.c_str(), nullptr);
    const bool found = value != nullptr;
    g_free(value);
    return found;
}

// Compares names byte for byte, as ours does.
using Ini = CSimpleIniCaseA;

inline std::unique_ptr<Ini> LoadIni(const std::string& path) {
    auto ini = std::make_unique<Ini>();
    return ini->LoadFile(path.c_str()) >= 0 ? std::move(ini) : nullptr;
}

using Tree = boost::property_tree::ptree;

}  // namespace bench
