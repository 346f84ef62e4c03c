// Colour maps and colour helpers, included by the point shader and the post-process shader. Functions only.
//
// Every colour map takes x in [0, 1] and returns an opaque colour; all but gray clamp x first. The formulas of the maps
// that ColorMap names are the ones of Math::Spectrum.

static const float pi = 3.14159265;

// The maps that colorize reaches.

// Grey of any value, not clamped: the point shader sends intensities through as they are.
float4 gray(float x)
{
    return float4(x, x, x, 1.0);
}

// A polynomial of degree 5 per channel.
float4 turbo(float x)
{
    static const float4 redLow = float4(0.13572138, 4.61539260, -42.66032258, 132.13108234);
    static const float4 greenLow = float4(0.09140261, 2.19418839, 4.84296658, -14.18503333);
    static const float4 blueLow = float4(0.10667330, 12.64194608, -60.58204836, 110.36276771);
    static const float2 redHigh = float2(-152.94239396, 59.28637943);
    static const float2 greenHigh = float2(4.27729857, 2.82956604);
    static const float2 blueHigh = float2(-89.90310912, 27.34824973);

    x = clamp(x, 0.0, 1.0);
    const float4 q = float4(1.0, x, x * x, x * x * x);
    const float2 s = q.zw * q.z;
    return float4(
        dot(q, redLow) + dot(s, redHigh),
        dot(q, greenLow) + dot(s, greenHigh),
        dot(q, blueLow) + dot(s, blueHigh),
        1.0
    );
}

// The polynomial c0 + c1 x + ... + c6 x^6, evaluated from the inside.
float4 polynomialColor(float x, float3 c0, float3 c1, float3 c2, float3 c3, float3 c4, float3 c5, float3 c6)
{
    return float4(c0 + x * (c1 + x * (c2 + x * (c3 + x * (c4 + x * (c5 + x * c6))))), 1.0);
}

float4 inferno(float x)
{
    return polynomialColor(
        clamp(x, 0.0, 1.0),
        float3(0.0002189403691192265, 0.001651004631001012, -0.01948089843709184),
        float3(0.1065134194856116, 0.5639564367884091, 3.932712388889277),
        float3(11.60249308247187, -3.972853965665698, -15.9423941062914),
        float3(-41.70399613139459, 17.43639888205313, 44.35414519872813),
        float3(77.162935699427, -33.40235894210092, -81.80730925738993),
        float3(-71.31942824499214, 32.62606426397723, 73.20951985803202),
        float3(25.13112622477341, -12.24266895238567, -23.07032500287172)
    );
}

float4 magma(float x)
{
    return polynomialColor(
        clamp(x, 0.0, 1.0),
        float3(-0.002136485053939582, -0.000749655052795221, -0.005386127855323933),
        float3(0.2516605407371642, 0.6775232436837668, 2.494026599312351),
        float3(8.353717279216625, -3.577719514958484, 0.3144679030132573),
        float3(-27.66873308576866, 14.26473078096533, -13.64921318813922),
        float3(52.17613981234068, -27.94360607168351, 12.94416944238394),
        float3(-50.76852536473588, 29.04658282127291, 4.23415299384598),
        float3(18.65570506591883, -11.48977351997711, -5.601961508734096)
    );
}

float4 viridis(float x)
{
    return polynomialColor(
        clamp(x, 0.0, 1.0),
        float3(0.2777273272234177, 0.005407344544966578, 0.3340998053353061),
        float3(0.1050930431085774, 1.404613529898575, 1.384590162594685),
        float3(-0.3308618287255563, 0.214847559468213, 0.09509516302823659),
        float3(-4.634230498983486, -5.799100973351585, -19.33244095627987),
        float3(6.228269936347081, 14.17993336680509, 56.69055260068105),
        float3(4.776384997670288, -13.74514537774601, -65.35303263337234),
        float3(-5.435455855934631, 4.645852612178535, 26.3124352495832)
    );
}

float4 plasma(float x)
{
    return polynomialColor(
        clamp(x, 0.0, 1.0),
        float3(0.05873234392399702, 0.02333670892565664, 0.5433401826748754),
        float3(2.176514634195958, 0.2383834171260182, 0.7539604599784036),
        float3(-2.689460476458034, -7.455851135738909, 3.110799939717086),
        float3(6.130348345893603, 42.3461881477227, -28.51885465332158),
        float3(-11.10743619062271, -82.66631109428045, 60.13984767418263),
        float3(10.02306557647065, 71.41361770095349, -54.07218655560067),
        float3(-3.658713842777788, -22.93153465461149, 18.19190778539828)
    );
}

// Grey with a tinge of blue.
float4 bone(float x)
{
    x = clamp(x, 0.0, 1.0);
    const float r = x < 3.0 / 4.0 ? 7.0 / 8.0 * x : 11.0 / 8.0 * x - 3.0 / 8.0;
    const float middle = x < 3.0 / 4.0 ? 29.0 / 24.0 * x - 1.0 / 8.0 : 7.0 / 8.0 * x + 1.0 / 8.0;
    const float g = x < 3.0 / 8.0 ? 7.0 / 8.0 * x : middle;
    const float b = x < 3.0 / 8.0 ? 29.0 / 24.0 * x : 7.0 / 8.0 * x + 1.0 / 8.0;
    return float4(r, g, b, 1.0);
}

// 0 is red, 0.5 white and 1 blue, on purpose, whatever the name says.
float4 bluewhitered(float x)
{
    x = clamp(x, 0.0, 1.0);
    if (x >= 0.5)
    {
        return float4(2.0 - 2.0 * x, 2.0 - 2.0 * x, 1.0, 1.0);
    }
    return float4(1.0, 2.0 * x, 2.0 * x, 1.0);
}

// Five steps from good to bad.
float4 levelofaccuracy(float x)
{
    x = clamp(x, 0.0, 1.0);
    float3 step = float3(1.0, 0.0, 0.0);
    if (x < 1.0 / 5.0)
    {
        step = float3(0.0, 0.5, 0.0);
    }
    else if (x < 2.0 / 5.0)
    {
        step = float3(0.0, 1.0, 0.0);
    }
    else if (x < 3.0 / 5.0)
    {
        step = float3(1.0, 1.0, 0.0);
    }
    else if (x < 4.0 / 5.0)
    {
        step = float3(1.0, 0.5, 0.0);
    }
    return float4(step, 1.0);
}

// The map with the number cmap of ColorMap; unknown numbers mean turbo. A subroutine call per case, so that only one
// map is evaluated.
float4 colorize(int cmap, float x)
{
    float4 result = float4(0.0, 0.0, 0.0, 0.0);
    [call] switch (cmap)
    {
        case 1:
            result = inferno(x);
            break;
        case 2:
            result = magma(x);
            break;
        case 3:
            result = viridis(x);
            break;
        case 4:
            result = plasma(x);
            break;
        case 5:
            result = gray(x);
            break;
        case 6:
            result = bone(x);
            break;
        case 7:
            result = bluewhitered(x);
            break;
        case 8:
            result = levelofaccuracy(x);
            break;
        default:
            result = turbo(x);
            break;
    }
    return result;
}

// Maps without a number of their own.

float4 jet(float x)
{
    x = clamp(x, 0.0, 1.0);
    float3 color = float3(0.0, 0.0, 0.0);
    if (x >= 7.0 / 8.0)
    {
        color.r = -4.0 * x + 9.0 / 2.0;
    }
    else if (x >= 5.0 / 8.0)
    {
        color.r = 1.0;
    }
    else if (x >= 3.0 / 8.0)
    {
        color.r = 4.0 * x - 3.0 / 2.0;
    }

    if (x >= 5.0 / 8.0)
    {
        color.g = x < 7.0 / 8.0 ? -4.0 * x + 7.0 / 2.0 : 0.0;
    }
    else if (x >= 3.0 / 8.0)
    {
        color.g = 1.0;
    }
    else if (x >= 1.0 / 8.0)
    {
        color.g = 4.0 * x - 1.0 / 2.0;
    }

    if (x < 1.0 / 8.0)
    {
        color.b = 4.0 * x + 1.0 / 2.0;
    }
    else if (x < 3.0 / 8.0)
    {
        color.b = 1.0;
    }
    else if (x < 5.0 / 8.0)
    {
        color.b = -4.0 * x + 5.0 / 2.0;
    }
    return float4(color, 1.0);
}

float4 blue_green_red(float x)
{
    x = clamp(x, 0.0, 1.0);
    if (x >= 0.5)
    {
        return float4(2.0 * x - 1.0, 2.0 - 2.0 * x, 0.0, 1.0);
    }
    return float4(0.0, 2.0 * x, 1.0 - 2.0 * x, 1.0);
}

float4 hot(float x)
{
    x = clamp(x, 0.0, 1.0);
    float3 color = float3(1.0, 0.0, 0.0);
    if (x <= 1.0 / 3.0)
    {
        color.r = 3.0 * x;
    }
    else if (x < 2.0 / 3.0)
    {
        color.g = 3.0 * x - 1.0;
    }
    else
    {
        color.g = 1.0;
        color.b = 3.0 * x - 2.0;
    }
    return float4(color, 1.0);
}

float4 thermo(float x)
{
    x = clamp(x, 0.0, 1.0);
    float3 color = float3(0.0, 0.0, 0.0);
    if (x <= 1.0 / 7.0)
    {
        color.r = 7.0 * x;
    }
    else if (x <= 2.0 / 7.0)
    {
        color.r = -7.0 * x + 2.0;
    }
    else if (x > 5.0 / 7.0)
    {
        color.r = 1.0;
    }
    else if (x > 4.0 / 7.0)
    {
        color.r = 7.0 * x - 4.0;
    }

    if (x > 6.0 / 7.0)
    {
        color.g = 7.0 * x - 6.0;
    }
    else if (x > 5.0 / 7.0)
    {
        color.g = -7.0 * x + 6.0;
    }
    else if (x > 3.0 / 7.0)
    {
        color.g = 1.0;
    }
    else if (x >= 2.0 / 7.0)
    {
        color.g = 7.0 * x - 2.0;
    }

    if (x <= 1.0 / 7.0)
    {
        color.b = 7.0 * x;
    }
    else if (x <= 3.0 / 7.0)
    {
        color.b = 1.0;
    }
    else if (x <= 4.0 / 7.0)
    {
        color.b = -7.0 * x + 4.0;
    }
    else if (x > 6.0 / 7.0)
    {
        color.b = 7.0 * x - 6.0;
    }
    return float4(color, 1.0);
}

float4 hsv(float x)
{
    x = clamp(x, 0.0, 1.0);
    float3 color = float3(0.0, 0.0, 0.0);
    if (x <= 1.0 / 5.0)
    {
        color = float3(1.0, 5.0 * x, 0.0);
    }
    else if (x <= 2.0 / 5.0)
    {
        color = float3(-5.0 * x + 2.0, 1.0, 0.0);
    }
    else if (x <= 3.0 / 5.0)
    {
        color = float3(0.0, 1.0, 5.0 * x - 2.0);
    }
    else if (x <= 4.0 / 5.0)
    {
        color = float3(0.0, -5.0 * x + 4.0, 1.0);
    }
    else
    {
        color = float3(5.0 * x - 4.0, 0.0, -5.0 * x + 5.0);
    }
    return float4(color, 1.0);
}

// A colour on a helix around the grey diagonal; c is (angle in radians, saturation, lightness).
// Source: D. A. Green, "A colour scheme for the display of astronomical intensity images" (2011).
float4 cubeHelix(float3 c)
{
    const float a = c.y * c.z * (1.0 - c.z);
    const float ch = cos(c.x + pi / 2.0);
    const float sh = sin(c.x + pi / 2.0);
    return float4(
        c.z + a * (1.78277 * sh - 0.14861 * ch),
        c.z - a * (0.29227 * ch + 0.90649 * sh),
        c.z + a * (1.97294 * ch),
        1.0
    );
}

float4 cubeHelixDefault(float x)
{
    x = clamp(x, 0.0, 1.0);
    return cubeHelix(float3(lerp(300.0 / 180.0 * pi, -240.0 / 180.0 * pi, x), 0.5, x));
}

float4 cubeHelixRainbow(float x)
{
    x = clamp(x, 0.0, 1.0);
    const float xs = abs(x - 0.5);
    return cubeHelix(float3((360.0 * x - 100.0) / 180.0 * pi, 1.5 - 1.5 * xs, 0.8 - 0.9 * xs));
}

// Colours of positions and normals.

float4 adjustBrightnessContrast(float4 color, float brightness, float contrast)
{
    return float4(clamp(contrast * (color.rgb + brightness - 0.5) + 0.5, 0.0, 1.0), color.a);
}

// The normal's components, each from -1..1 to 0..1.
float4 colorizeByNormal(float3 normal)
{
    return float4(0.5 + 0.5 * normal, 1.0);
}

// The colour map over the position's projection onto the line from start (0) to end (1). Equal points give a
// non-finite x, on purpose without a guard.
float4 colorizeByPlaneDistance(float3 pos, float3 start, float3 end, int cmap)
{
    const float3 dir = end - start;
    const float x = dot(pos - start, dir) / dot(dir, dir);
    return colorize(cmap, x);
}
