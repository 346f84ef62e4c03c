#include "math/Spectrum.h"

#include "math/unitToByte.h"

#include <array>
#include <cmath>

namespace Math
{
namespace Boundary
{
float ClampToBorder::apply(float x) noexcept
{
    return x > 0.0F ? (x < 1.0F ? x : 1.0F) : 0.0F;
}

float Repeat::apply(float x) noexcept
{
    return std::isfinite(x) ? x - std::floor(x) : 0.0F;
}
}  // namespace Boundary

namespace Spectrum
{
namespace
{
struct Rgb
{
    float r;
    float g;
    float b;
};

Color opaque(const Rgb& rgb) noexcept
{
    return {unitToByte(rgb.r), unitToByte(rgb.g), unitToByte(rgb.b), 255};
}

float clamped(float x) noexcept
{
    return Boundary::ClampToBorder::apply(x);
}

/// Coefficients of a polynomial, constant term first.
using Polynomial = std::array<Rgb, 7>;

// Degree-6 fits to the perceptual colour maps of the same names, published as CC0.
constexpr Polynomial kInferno{{
    {0.0002189403691192265F, 0.001651004631001012F, -0.01948089843709184F},
    {0.1065134194856116F, 0.5639564367884091F, 3.932712388889277F},
    {11.60249308247187F, -3.972853965665698F, -15.9423941062914F},
    {-41.70399613139459F, 17.43639888205313F, 44.35414519872813F},
    {77.162935699427F, -33.40235894210092F, -81.80730925738993F},
    {-71.31942824499214F, 32.62606426397723F, 73.20951985803202F},
    {25.13112622477341F, -12.24266895238567F, -23.07032500287172F},
}};

constexpr Polynomial kMagma{{
    {-0.002136485053939582F, -0.000749655052795221F, -0.005386127855323933F},
    {0.2516605407371642F, 0.6775232436837668F, 2.494026599312351F},
    {8.353717279216625F, -3.577719514958484F, 0.3144679030132573F},
    {-27.66873308576866F, 14.26473078096533F, -13.64921318813922F},
    {52.17613981234068F, -27.94360607168351F, 12.94416944238394F},
    {-50.76852536473588F, 29.04658282127291F, 4.23415299384598F},
    {18.65570506591883F, -11.48977351997711F, -5.601961508734096F},
}};

constexpr Polynomial kViridis{{
    {0.2777273272234177F, 0.005407344544966578F, 0.3340998053353061F},
    {0.1050930431085774F, 1.404613529898575F, 1.384590162594685F},
    {-0.3308618287255563F, 0.214847559468213F, 0.09509516302823659F},
    {-4.634230498983486F, -5.799100973351585F, -19.33244095627987F},
    {6.228269936347081F, 14.17993336680509F, 56.69055260068105F},
    {4.776384997670288F, -13.74514537774601F, -65.35303263337234F},
    {-5.435455855934631F, 4.645852612178535F, 26.3124352495832F},
}};

constexpr Polynomial kPlasma{{
    {0.05873234392399702F, 0.02333670892565664F, 0.5433401826748754F},
    {2.176514634195958F, 0.2383834171260182F, 0.7539604599784036F},
    {-2.689460476458034F, -7.455851135738909F, 3.110799939717086F},
    {6.130348345893603F, 42.3461881477227F, -28.51885465332158F},
    {-11.10743619062271F, -82.66631109428045F, 60.13984767418263F},
    {10.02306557647065F, 71.41361770095349F, -54.07218655560067F},
    {-3.658713842777788F, -22.93153465461149F, 18.19190778539828F},
}};

Color evaluated(const Polynomial& coefficients, float x) noexcept
{
    const float t = clamped(x);
    Rgb sum{0.0F, 0.0F, 0.0F};
    for (auto c = coefficients.rbegin(); c != coefficients.rend(); ++c)
    {
        sum = {c->r + t * sum.r, c->g + t * sum.g, c->b + t * sum.b};
    }
    return opaque(sum);
}

/// Constant term first.
float evaluated(const std::array<float, 6>& coefficients, float t) noexcept
{
    float sum = 0.0F;
    for (auto c = coefficients.rbegin(); c != coefficients.rend(); ++c)
    {
        sum = *c + t * sum;
    }
    return sum;
}
}  // namespace

Color Turbo::color(float x) noexcept
{
    // A. Mikhailov, "Turbo, An Improved Rainbow Colormap for Visualization" (2019), polynomial approximation.
    constexpr std::array<float, 6> kRed{
        0.13572138F, 4.61539260F, -42.66032258F, 132.13108234F, -152.94239396F, 59.28637943F};
    constexpr std::array<float, 6> kGreen{
        0.09140261F, 2.19418839F, 4.84296658F, -14.18503333F, 4.27729857F, 2.82956604F};
    constexpr std::array<float, 6> kBlue{
        0.10667330F, 12.64194608F, -60.58204836F, 110.36276771F, -89.90310912F, 27.34824973F};
    const float t = clamped(x);
    return opaque({evaluated(kRed, t), evaluated(kGreen, t), evaluated(kBlue, t)});
}

Color Inferno::color(float x) noexcept
{
    return evaluated(kInferno, x);
}

Color Magma::color(float x) noexcept
{
    return evaluated(kMagma, x);
}

Color Viridis::color(float x) noexcept
{
    return evaluated(kViridis, x);
}

Color Plasma::color(float x) noexcept
{
    return evaluated(kPlasma, x);
}

Color Gray::color(float x) noexcept
{
    return opaque({x, x, x});
}

Color Bone::color(float x) noexcept
{
    const float t = clamped(x);
    const bool aboveThreeEighths = t >= 3.0F / 8.0F;
    const bool aboveThreeQuarters = t >= 3.0F / 4.0F;
    const float gentle = 7.0F / 8.0F * t;
    const float r = aboveThreeQuarters ? 11.0F / 8.0F * t - 3.0F / 8.0F : gentle;
    const float middle = 29.0F / 24.0F * t - 1.0F / 8.0F;
    const float g = !aboveThreeEighths ? gentle : (!aboveThreeQuarters ? middle : gentle + 1.0F / 8.0F);
    const float b = aboveThreeEighths ? gentle + 1.0F / 8.0F : 29.0F / 24.0F * t;
    return opaque({r, g, b});
}

Color BlueWhiteRed::color(float x) noexcept
{
    // Despite its name red at 0 and blue at 1, on purpose: the shader's map runs that way.
    const float t = clamped(x);
    if (t >= 0.5F)
    {
        const float fading = 2.0F - 2.0F * t;
        return opaque({fading, fading, 1.0F});
    }
    return opaque({1.0F, 2.0F * t, 2.0F * t});
}

Color LevelOfAccuracy::color(float x) noexcept
{
    const float t = clamped(x);
    if (t < 1.0F / 5.0F)
    {
        return opaque({0.0F, 0.5F, 0.0F});
    }
    if (t < 2.0F / 5.0F)
    {
        return opaque({0.0F, 1.0F, 0.0F});
    }
    if (t < 3.0F / 5.0F)
    {
        return opaque({1.0F, 1.0F, 0.0F});
    }
    if (t < 4.0F / 5.0F)
    {
        return opaque({1.0F, 0.5F, 0.0F});
    }
    return opaque({1.0F, 0.0F, 0.0F});
}
}  // namespace Spectrum
}  // namespace Math
