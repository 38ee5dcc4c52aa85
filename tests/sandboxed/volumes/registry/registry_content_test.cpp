// What else a registry file holds: other elements stay what they are, and a file that is no array stays as it is.

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <random>
#include <sys/stat.h>

#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

const char* const kMark = "\xEF\xBB\xBF";

struct Damage {
    const char* name;
    std::string text;
    bool json; // but not an array
};

void PrintTo(const Damage& damage, std::ostream* stream)
{
    *stream << damage.name;
}

std::string Nested(std::size_t depth)
{
    return std::string(depth, '[') + std::string(depth, ']');
}

std::vector<Damage> Damages()
{
    return {
        {"object", R"({"volumes": ["/volume1"]})", true},
        {"empty_object", "{}", true},
        {"string", R"("/volume1")", true},
        {"number", "12", true},
        {"large_number", "123456789012345678901234567890\n", true},
        {"true", "true", true},
        {"false", " false ", true},
        {"null", "null\n", true},
        {"empty", "", false},
        {"blank", " \n\t\r\n", false},
        {"garbage", "volume1", false},
        {"bytes", std::string("\x00\xFF\x01\x80", 4), false},
        {"zeros", std::string(4096, '\0'), false},
        {"mark_alone", kMark, false},
        {"open_array", "[", false},
        {"close_array", "]", false},
        {"truncated_string", R"(["/volume2", "/vol)", false},
        {"truncated_element", R"(["/volume2",)", false},
        {"truncated_end", R"(["/volume2")", false},
        {"truncated_object", R"([{"a": 1])", false},
        {"trailing_text", R"(["/volume2"] volume1)", false},
        {"trailing_letter", R"(["/volume2"]x)", false},
        {"trailing_string", R"(["/volume2"] "/volume1")", false},
        {"trailing_array", R"(["/volume2"]["/volume1"])", false},
        {"trailing_bracket", R"(["/volume2"]])", false},
        {"trailing_zeros", std::string("[\"/volume2\"]\n\0\0\0", 16), false},
        {"text_after_a_zero", std::string("[\"/volume2\"]\0[]", 15), false},
        {"object_with_trailing_text", "{} x", false},
        {"leading_text", R"(x["/volume2"])", false},
        {"comment_before", "// volumes\n[\"/volume2\"]", false},
        {"comment_after", "[\"/volume2\"] // volumes\n", false},
        {"comment_within", R"(["/volume2", /* the second */ "/volume3"])", false},
        {"comment_after_an_element", R"(["/volume2" /* the second */, "/volume3"])", false},
        {"comment_at_the_end", "[\"/volume2\" // the second\n]", false},
        {"comment_in_an_empty_array", "[/* none */]", false},
        {"comment_within_an_element", "[[1 /* x */]]", false},
        {"comment_in_an_object", "[{\"a\": 1 // x\n}]", false},
        {"comment_in_an_empty_object", "[{/* x */}]", false},
        {"comment_before_a_key", R"([{/* "/volume1" */ "a": 1}])", false},
        {"comment_before_a_value", R"([{"a": /* x */ 1}])", false},
        {"number_without_exponent", "[1e]", false},
        {"number_with_half_an_exponent", "[1e+]", false},
        {"number_without_fraction", "[1.]", false},
        {"number_without_integer", "[-.5]", false},
        {"number_with_zeros_before_it", "[01]", false},
        {"number_with_a_plus", "[+1]", false},
        {"hexadecimal_number", "[0x10]", false},
        {"plus_alone", "[+]", false},
        {"minus_alone", "[-]", false},
        {"control_character", "[\"/vol\x01ume2\"]", false},
        {"line_feed_in_a_string", "[\"/vol\nume2\"]", false},
        {"zero_in_a_string", std::string("[\"a\0b\"]", 7), false},
        {"key_alone", R"([{"a"}])", false},
        {"key_without_value", R"([{"a":}])", false},
        {"number_for_a_key", "[{1: 2}]", false},
        {"comma_in_an_object", R"([{"a": 1,}])", false},
        {"wrong_bracket", "[[}]", false},
        {"long_word", "[nullx]", false},
        {"form_feed", "[\f]", false},
        {"trailing_comma", R"(["/volume2",])", false},
        {"double_comma", R"(["/volume2",,"/volume3"])", false},
        {"leading_comma", R"([,"/volume2"])", false},
        {"no_comma", R"(["/volume2" "/volume3"])", false},
        {"comma_alone", "[,]", false},
        {"single_quotes", "['/volume2']", false},
        {"bare_word", "[/volume2]", false},
        {"unknown_word", "[undefined]", false},
        {"not_a_number", "[NaN]", false},
        {"infinity", "[Infinity]", false},
        {"bad_escape", R"(["\volume2"])", false},
        {"bad_unicode_escape", R"(["\u00g0"])", false},
        {"short_unicode_escape", R"(["\u00f"])", false},
        {"deep_and_truncated", std::string(100000, '['), false},
        {"deep_object", Nested(100000).insert(0, "{\"a\": ") + "}", true},
    };
}

class DamagedRegistry : public RegistryGround, public ::testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedRegistry, IsLeftAsItIsByEveryOperation)
{
    for (const Change& change : Changes()) {
        SCOPED_TRACE(change.name);
        const std::string file = change.File();
        WriteText(file, GetParam().text);
        EXPECT_FALSE(change.run("foo", "/volume1"));
        EXPECT_THAT(log.Take(), ElementsAre(GetParam().json ? NotAnArray(file) : NotRead(file)));
        EXPECT_EQ(ReadText(file), GetParam().text);
        EXPECT_EQ(ListFolder(change.Folder()).size(), 1U) << "nothing else is there";
    }
}

TEST_P(DamagedRegistry, IsReportedByTheQueries)
{
    WriteText(UnitFile("foo.service"), GetParam().text);
    EXPECT_FALSE(VESKSystemdVolumeIsRegisteredByUnit("foo", {"/volume1"}));
    const std::string file = UnitFile("foo.service");
    EXPECT_THAT(log.Take(), ElementsAre(GetParam().json ? NotAnArray(file) : NotRead(file)));
}

INSTANTIATE_TEST_SUITE_P(With, DamagedRegistry, ValuesIn(Damages()), NameOf<Damage>);

using RegistryContent = RegistryGround;

// What is no file.
void ExpectLeft(SyslogCapture& log, const Change& change)
{
    SCOPED_TRACE(change.name);
    EXPECT_FALSE(change.run("foo", "/volume1"));
    EXPECT_THAT(log.Take(), ElementsAre(NotRead(change.File())));
    EXPECT_EQ(ListFolder(change.Folder()).size(), 1U) << "nothing else is there";
}

TEST_F(RegistryContent, OfAFolderIsLeft)
{
    for (const Change& change : Changes()) {
        WriteText(change.File() + "/kept", "x");
        ExpectLeft(log, change);
        EXPECT_EQ(ReadText(change.File() + "/kept"), "x");
    }
}

TEST_F(RegistryContent, OfAPipeIsLeftAndNotWaitedFor)
{
    for (const Change& change : Changes()) {
        RemoveAll(change.Folder());
        MakeFolder(change.Folder());
        ASSERT_EQ(mkfifo(change.File().c_str(), 0600), 0);
        ExpectLeft(log, change);
        EXPECT_TRUE(std::filesystem::is_fifo(change.File()));
    }
    EXPECT_FALSE(VESKSystemdVolumeIsRegisteredByUnit("foo", {"/volume1"}));
    EXPECT_THAT(log.Take(), ElementsAre(NotRead(UnitFile("foo.service"))));
}

TEST_F(RegistryContent, OfALinkToItselfIsLeft)
{
    for (const Change& change : Changes()) {
        RemoveAll(change.Folder());
        MakeFolder(change.Folder());
        std::filesystem::create_symlink(change.File(), change.File());
        ExpectLeft(log, change);
        EXPECT_TRUE(std::filesystem::is_symlink(change.File()));
    }
}

TEST_F(RegistryContent, OfADanglingLinkIsNone)
{
    for (const Change& change : Changes()) {
        MakeFolder(change.Folder());
        RemoveAll(change.File());
        std::filesystem::create_symlink("/tmp/nowhere", change.File());
        EXPECT_TRUE(change.run("foo", "/volume1"));
        EXPECT_EQ(ReadText(change.File()), Volumes(change.registers ? Words{"/volume1"} : Words{}));
        EXPECT_FALSE(Exists("/tmp/nowhere"));
    }
}

// Elements that have to come out as they went in.
Words OtherElements()
{
    return {
        "null",
        "true",
        "false",
        "0",
        "-0",
        "-0.0",
        "18446744073709551615",
        "-9223372036854775808",
        "123456789012345678901234567890",
        "0.1",
        "1.10",
        "1e5",
        "1E-7",
        "3.14159265358979323846264338327950288",
        "1.7976931348623157e308",
        "1e999",
        "-1E+999",
        "1e-99999999999999999999",
        "[]",
        "{}",
        R"({"z": 1, "a": [1, 2, {"deep": null}], "/volume1": "/volume1"})",
        "[\n  \"/volume1\",\n  [\"/volume1\"]\n]",
        "{ \"b\" : 1.50 ,\t\"a\":{} }",
        R"("")",
        R"("\u002fvolume\u0032")",
        R"("\/volume2\"\\\b\f\n\r\t")",
        R"("\u0000\u001f\ud83d\udcbe")",
        R"("half a pair \ud83d")",
        R"({"a": 1, "a": 2})",
        "\"deleted \x7f\"",
        "\"\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x92\xBE\"",
        "\"broken \xFF\xC3\x28\xED\xA0\x80\"",
        Nested(100000),
        "\"" + std::string(100000, 'x') + "\"",
    };
}

Words With(Words elements, const std::string& element)
{
    elements.push_back(element);
    return elements;
}

TEST_F(RegistryContent, OfAnyOtherKindIsKeptByteForByte)
{
    const Words others = OtherElements();
    const std::string file = UnitFile("foo.service");
    for (const std::string& element : others) {
        SCOPED_TRACE(element.substr(0, 100));
        WriteText(file, "[ " + element + " ]");
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
        EXPECT_EQ(ReadText(file), Array({element, Quoted("/volume1")}));
        EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
        EXPECT_EQ(ReadText(file), Array({element}));
    }
    WriteText(file, Array(others));
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    EXPECT_EQ(ReadText(file), Array(With(others, Quoted("/volume1"))));
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(file), Array(others));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(RegistryContent, IsUnderstoodWithEscapesBlanksAndAMark)
{
    const std::string file = UnitFile("foo.service");
    for (const std::string& text :
         Words{"[\"\\u002fvolume1\"]", "[\"\\/volume1\"]", "\xEF\xBB\xBF[\"/volume1\"]",
               " \r\n\t[ \r\n\t\"/volume1\" \r\n\t] \r\n\t", "\xEF\xBB\xBF \n[\"/volume1\"]\r\n"}) {
        SCOPED_TRACE(text);
        WriteText(file, text);
        EXPECT_TRUE(VESKSystemdVolumeIsRegisteredByUnit("foo", {"/volume1"}));
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
        EXPECT_EQ(ReadText(file), text) << "nothing had to be written";
        EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
        EXPECT_EQ(ReadText(file), Array({}));
    }
    WriteText(file, "\xEF\xBB\xBF [1 , \"/volume1\"]");
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(file), Array({"1"}));
}

TEST_F(RegistryContent, MayBeOfAnySize)
{
    Words volumes;
    for (int number = 0; number < 20000; ++number) {
        volumes.push_back("/volume" + std::to_string(number));
    }
    WriteText(UnitFile("foo.service"), Volumes(volumes));
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes(With(volumes, "/volume")));
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume19999"));
    volumes.back() = "/volume";
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes(volumes));
}

// The same numbers in every run, so that a failure comes back.
class Randomness
{
public:
    std::size_t Below(std::size_t limit) { return m_engine() % limit; }

    template <typename Items>
    const auto& OneOf(const Items& items)
    {
        return items[Below(items.size())];
    }

private:
    std::mt19937 m_engine{5};
};

std::string Mutated(std::string text, Randomness& random)
{
    const std::string pool = "[]{},:\"\\/*0e-. \n\xEF\xFF" + std::string(1, '\0');
    for (std::size_t left = 1 + random.Below(3); left > 0; --left) {
        const std::size_t place = random.Below(text.size() + 1);
        switch (random.Below(3)) {
        case 0:
            text.insert(place, 1, random.OneOf(pool));
            break;
        case 1:
            text.erase(place, 1 + random.Below(3));
            break;
        default:
            text.replace(place, std::min<std::size_t>(1, text.size() - place), 1, random.OneOf(pool));
        }
    }
    return text;
}

std::string WithoutBlanks(std::string text)
{
    text.erase(
        std::remove_if(text.begin(), text.end(),
                       [](char letter) { return std::string(" \t\r\n").find(letter) != std::string::npos; }),
        text.end());
    return text;
}

TEST_F(RegistryContent, NeverLosesAnythingWhateverItIs)
{
    const Words samples = {R"(["/volume2", 1.50, {"a": [null, "\u00e4"]}, "/volume3"])", R"([ "/volume2" ])",
                           "[\n]", "[-0, 1e5, \"\xC3\xA4\", [[]], {\"b\": {}}]"};
    const std::string file = UnitFile("foo.service");
    Randomness random;
    int written = 0;
    int refused = 0;
    for (int round = 0; round < 400; ++round) {
        const std::string text = Mutated(random.OneOf(samples), random);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + text);
        WriteText(file, text);
        if (VESKSystemdVolumeRegister("foo", "/new")) {
            ++written;
            std::string expected = WithoutBlanks(text);
            ASSERT_EQ(expected.back(), ']');
            expected.pop_back();
            expected += std::string(expected == "[" ? "" : ",") + "\"/new\"]";
            EXPECT_EQ(WithoutBlanks(ReadText(file)), expected);
        } else {
            ++refused;
            EXPECT_EQ(ReadText(file), text);
        }
    }
    EXPECT_GT(written, 20);
    EXPECT_GT(refused, 20);
}

} // namespace
} // namespace VeskTest
