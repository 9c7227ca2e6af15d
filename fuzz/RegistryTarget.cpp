// The registry file: its bytes as they stand, looked up under the names that the program uses.
#include "fuzz/FuzzTarget.h"
#include "platform/RegistryText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorela;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    constexpr const char* key = R"(System\CurrentControlSet\Services\DKBASE)";
    for (const char* name : {"BinDir", ""}) {
        const auto value = FindRegistryValue(bytes, RegistryRoot::localMachine, key, name);
        if (value)
            fuzz::Require(value->data.size() <= size + 1,
                          "a value is no longer than its file and an end mark");
    }
    FindRegistryValue(bytes, RegistryRoot::users, bytes.substr(0, size / 2), bytes.substr(size / 2));
    return 0;
}
