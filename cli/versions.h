#pragma once
// Version tags shown by --version.
namespace cli {

constexpr const char* ProgramName = "velmoor-convert";
constexpr const char* ProgramVersion = "Velmoor.1.1.2012.11";
constexpr const char* ConverterVersion = "1.9.2012.9";

} // namespace cli
