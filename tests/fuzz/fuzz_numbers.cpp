// Times, sizes and other numbers as they stand in fields.

#include "base/size_text.h"
#include "fuzz_input.h"
#include "util/time_and_size.h"
#include "xml_doc/mab_string.h"
#include "xml_doc/zev_xml.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(text_of(data, size));
    _filetime filetime;
    std::uint64_t raw = 0;
    const bool taken = seconds_convert_to_ms_filetime(text.c_str(), &filetime, &raw) == 0;
    check(raw == std::strtoull(text.c_str(), nullptr, 10), "the number is the text's");
    check(!taken || ((std::uint64_t{filetime.high} << 32U) | filetime.low) == raw, "both halves are kept");
    std::time_t seconds = 0;
    check(ms_filetime_to_timet(&filetime, &seconds) == 0, "every time is one");
    check(!taken || raw > INT32_MAX || convert_to_timet_for_link_engine(raw) == static_cast<int>(raw),
          "seconds stay");
    const std::string shown = relay_hub::size_text(raw);
    check(shown.size() <= 24 && (raw >= 1024 || shown == std::to_string(raw) + " bytes"), "a size is short");

    CZEVXML document;
    document.Generate("A", text);
    check(document.QueryInt("A") == static_cast<int>(std::strtol(document.Query("A").c_str(), nullptr, 10)),
          "an integer is read as C reads it");
    (void)document.QueryDbl("A");
    CMabString number(text.c_str());
    check(number.GetInt() == static_cast<int>(number.GetLong()), "an integer is a cut long");
    (void)number.GetDouble();
    number.PutDouble(number.GetDouble(), 12, 'E');
    number.PutLong(number.GetLong(), 8);
    check(number.GetLength() == 8 || number.view() == "Error", "a field keeps its width, or says so");
    return 0;
}
