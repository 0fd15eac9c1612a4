// Records written through Table and through TableWriter leave the same rows, which both read alike.

#include "Fuzz.h"
#include "support/BothWays.h"

namespace
{

class FuzzedChoices : public sqltest::Choices
{
public:
    explicit FuzzedChoices(FuzzedDataProvider& input) : _input(input) {}

    unsigned bits() override { return _input.ConsumeIntegral<unsigned>(); }
    unsigned below(unsigned limit) override
    {
        return _input.ConsumeIntegralInRange<unsigned>(0, limit - 1);
    }
    std::string text() override { return fuzz::upToNul(_input.ConsumeRandomLengthString(64)); }

private:
    FuzzedDataProvider& _input;
};

} // namespace

void fuzz::tryInput(FuzzedDataProvider& input)
{
    static sqltest::BothWays byInteger(sql::type_int), byText(sql::type_text);
    FuzzedChoices choices(input);
    sqltest::BothWays& ways = input.ConsumeBool() ? byInteger : byText;
    ways.clear();
    std::string difference;
    for (int writes = 0; writes < 8 && input.remaining_bytes() > 0 && difference.empty(); ++writes)
        difference = ways.write(choices);
    if (difference.empty())
        difference = ways.difference();
    require(difference.empty(), difference.c_str());
}
