// Split: a line of delimiters, then the text.
#include "fuzz.hpp"

#include <vesksystemd.hpp>

namespace VeskFuzz
{
namespace
{

Texts Pieces(const std::string& text, std::string_view delimiters)
{
    Texts pieces(1);
    for (const char character : text) {
        if (delimiters.find(character) != std::string_view::npos) {
            pieces.emplace_back();
        } else {
            pieces.back() += character;
        }
    }
    return pieces;
}

} // namespace

void Fuzz(std::string_view input)
{
    const Texts before{"as it was", ""};
    const std::string delimiters(TakeLine(input));
    const std::string stripped = Stripped(input);

    Texts pieces = before;
    Require(VESK::Systemd::Split(std::string(input), pieces, delimiters), "it succeeds");
    RequireSame(pieces, stripped.empty() ? before : Pieces(stripped, delimiters), "the pieces");
}

} // namespace VeskFuzz
