// The display name and the key of its translation.
#include "key_rows.hpp"

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

class TextKey : public ::testing::TestWithParam<TextKeyRow>
{
protected:
    void WriteValue(const std::string& value)
    {
        WriteKeys(std::string(GetParam().name) + "=" + value + "\n");
    }

    bool Get(const std::string& unit = "foo") { return GetParam().get(unit, m_text); }

    // The C form on the first SIZE bytes of the buffer.
    int CGet(size_t size, const char* unit = "foo") { return GetParam().cGet(unit, m_buffer.data(), size); }

    std::string m_text = "before";
    std::string m_buffer = std::string(2000, '#');
    SyslogCapture m_log;
};

TEST_P(TextKey, IsGivenAsItStands)
{
    for (const char* value : {"Hello", "%s%n", "two  words", "\xff\xfe", "\"quoted\"", "a=b"}) {
        WriteValue(value);
        EXPECT_TRUE(Get());
        EXPECT_EQ(m_text, value);
        EXPECT_EQ(CGet(m_buffer.size()), 1);
        EXPECT_STREQ(m_buffer.c_str(), value);
    }
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(TextKey, FailsAndIsEmptyWithoutAValue)
{
    for (const char* lines : {"", "Other=x\n"}) {
        WriteKeys(lines);
        ClearErrorRecord();
        m_text = "before";
        EXPECT_FALSE(Get());
        EXPECT_EQ(m_text, "");
        EXPECT_EQ(CGet(m_buffer.size()), 0);
        EXPECT_EQ(VLIBCErrGet(), 0);
    }
    WriteValue("");
    EXPECT_FALSE(Get());
    EXPECT_EQ(m_buffer, std::string(2000, '#'));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(TextKey, FailsForAUnitWithoutAFile)
{
    ClearErrorRecord();
    EXPECT_FALSE(Get("no-such"));
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
    ClearErrorRecord();
    EXPECT_EQ(CGet(m_buffer.size(), "no-such"), 0);
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_EQ(m_buffer, std::string(2000, '#'));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(TextKey, IsCutTo1023Bytes)
{
    WriteValue(std::string(1023, 'v'));
    EXPECT_TRUE(Get());
    EXPECT_EQ(m_text, std::string(1023, 'v'));
    WriteValue(std::string(1500, 'w'));
    EXPECT_TRUE(Get());
    EXPECT_EQ(m_text, std::string(1023, 'w'));
    EXPECT_EQ(CGet(1023), 0);
    EXPECT_EQ(CGet(1024), 1);
}

TEST_P(TextKey, FitsABufferThatHasRoomForTheZero)
{
    WriteValue("Hello");
    EXPECT_EQ(CGet(6), 1);
    EXPECT_EQ(m_buffer.substr(0, 7), std::string("Hello\0#", 7));
}

TEST_P(TextKey, DoesNotFitAShorterBufferAndLeavesItAlone)
{
    WriteValue("Hello");
    for (const size_t size : {5U, 1U}) {
        ClearErrorRecord();
        EXPECT_EQ(CGet(size), 0);
        EXPECT_EQ(VLIBCErrGet(), 0x0100);
        EXPECT_STREQ(VLIBCErrorGetFile(), GetParam().file);
    }
    EXPECT_EQ(m_buffer, std::string(2000, '#'));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(TextKey, RefusesArgumentsInTheirOrder)
{
    EXPECT_FALSE(Get(""));
    EXPECT_TRUE(Refused(m_log, GetParam().file, {"!strUnit.empty()"}));
    EXPECT_EQ(m_text, "before");
    EXPECT_EQ(GetParam().cGet(nullptr, nullptr, 0), 0);
    EXPECT_EQ(GetParam().cGet("", nullptr, 0), 0);
    EXPECT_EQ(CGet(0, ""), 0);
    EXPECT_EQ(CGet(1, ""), 0);
    EXPECT_TRUE(
        Refused(m_log, GetParam().file,
                {"nullptr != szUnit", GetParam().bufferCheck, GetParam().sizeCheck, "!strUnit.empty()"}));
}

INSTANTIATE_TEST_SUITE_P(Of, TextKey,
                         ::testing::Values(TextKeyRow{"Name", "systemd_name_get.cpp", VESKSystemdNameGet,
                                                      VESKCSystemdNameGet, "nullptr != szName", "0 < cbName"},
                                           TextKeyRow{"NameI18n", "systemd_name_i18n_get.cpp",
                                                      VESKSystemdNameI18nGet, VESKCSystemdNameI18nGet,
                                                      "nullptr != szNameI18n", "0 < cbNameI18n"}),
                         RowName());

} // namespace
} // namespace VeskTest
