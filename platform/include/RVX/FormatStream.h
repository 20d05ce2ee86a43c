#pragma once

#include "RVX/Export.h"
#include "RVX/Strings.h"

#include <cstdint>
#include <string>

namespace RVX {
namespace Output_Streams {

// Fills a printf-like format one argument at a time. Each Format... call
// writes the literal text up to the next conversion and then the argument in
// that conversion's form ("%d", "%u", "%s", "%X", "%02X", "%llu", ...); the
// literal text after the last conversion is written when the stream ends.
// "%%" stands for a percent sign. A surplus argument is ignored; a missing
// one leaves its conversion out.
class RVX_API CFormatStream {
public:
    CFormatStream(std::string& target, const char* format);
    CFormatStream(Strings::CStringVar& target, const char* format);
    CFormatStream(const CFormatStream&) = delete;
    CFormatStream& operator=(const CFormatStream&) = delete;
    CFormatStream(CFormatStream&& other) noexcept;
    ~CFormatStream();

    CFormatStream& FormatInt(unsigned int value);
    CFormatStream& FormatInt(int value);
    CFormatStream& FormatInt64(unsigned long long value);
    CFormatStream& FormatInt64(long long value);
    CFormatStream& FormatStr(const Strings::CStringRef& value);

    // Writes the rest of the format now; later calls do nothing.
    void Finish();

private:
    struct Conversion {
        bool leftAlign = false;
        bool zeroPad = false;
        unsigned width = 0;
        char conversion = 0; // 0: no conversion left
    };
    Conversion NextConversion();
    void Pad(const std::string& digits, const Conversion& conv);
    void PutSigned(long long value, const Conversion& conv);
    void PutUnsigned(unsigned long long value, const Conversion& conv);

    std::string* m_Target;
    const char* m_Format;
    bool m_Finished = false;
};

} // namespace Output_Streams
} // namespace RVX
