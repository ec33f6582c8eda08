// The order receipt's fields that are more than text: the phone display form and the id barcode.

#include "engine_cases.h"

#include "order_layout_p.h"
#include "utility_p.h"

using namespace engine_test;

namespace {

ENGINE_CASE_TABLE(PhoneFormat, "phone");

TEST_P(PhoneFormat, DashesMobileFixedAndInternationalNumbers)
{
    const std::string in = GetParam().text("in");
    char* formatted = format_phone(in == "null" ? nullptr : in.c_str());
    EXPECT_EQ(formatted ? formatted : "null", GetParam().text("out"));
    engine_release(formatted);
}

ENGINE_CASE_TABLE(Barcode, "barcode");

TEST_P(Barcode, PacksTheDigitsOfTheIdInPairs)
{
    Receipt out;
    out.data = barcode_bytes(GetParam().text("id").c_str(), &out.length);
    EXPECT_BYTES(bytesOf(GetParam().text("bytes")), out.bytes());
}

}  // namespace
