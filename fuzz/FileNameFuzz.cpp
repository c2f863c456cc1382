// The REK reader's name test on arbitrary strings: never a crash, and an accepted name never holds
// a byte or a doubled separator that the test refuses.
#include <AncillaryKitoOperators/RekTypeReader>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string name(reinterpret_cast<const char*>(data), size);
    if (!Tarn::AncillaryKitoOperators::RekTypeReader::isValidFileName(name)) return 0;
    if (name.empty()) std::abort();
    for (std::size_t i = 0; i < name.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(name[i]);
        const bool latin = c == 0xb5 || c == 0xc4 || c == 0xd6 || c == 0xdc || c == 0xdf || c == 0xe4 || c == 0xf6 || c == 0xfc;
        if (c < ' ' || (c > '~' && !latin)) std::abort();
        if (c == '*' || c == '<' || c == '=' || c == '>' || c == '?' || c == '|') std::abort();
        if (c == ':' && i != 1) std::abort();
    }
    if (name.find("//", 1) != std::string::npos || name.find("\\\\", 1) != std::string::npos) std::abort();
    return 0;
}
