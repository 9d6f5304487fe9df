// Any command line and any error directory: no read beyond the text, no overflow, no undefined arithmetic.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "player/app/error_file_name.h"
#include "player/app/launch_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    (void)vistrame::ScanLaunchFields(text.c_str());
    std::array<char, vistrame::kErrorFileNameSize> name{};
    (void)vistrame::FormatErrorFileName(name, text.c_str(), std::tm{});
    return 0;
}
