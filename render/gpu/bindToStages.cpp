#include "render/gpu/bindToStages.h"

#include "render/platform/Direct3D.h"

namespace Render
{
namespace
{
/// Sets count objects from a slot on, at one stage.
template <class Object>
using Setter = void (STDMETHODCALLTYPE ID3D11DeviceContext::*)(UINT, UINT, Object* const*);

/// One setter per stage, of the same kind of object.
template <class Object>
struct Setters
{
    Setter<Object> vertex;
    Setter<Object> pixel;
    Setter<Object> geometry;
    Setter<Object> compute;
};

template <class Object>
void bind(
    ID3D11DeviceContext* context, const StageBinding& binding, Object* object, const Setters<Object>& setters
)
{
    const auto bindTo = [&](ShaderConfiguration stage, Setter<Object> set)
    {
        if ((binding.configuration() & stage) == stage)
        {
            (context->*set)(binding.slot(), 1, &object);
        }
    };
    bindTo(ShaderConfiguration::Vertex, setters.vertex);
    bindTo(ShaderConfiguration::Pixel, setters.pixel);
    bindTo(ShaderConfiguration::Geometry, setters.geometry);
    bindTo(ShaderConfiguration::Compute, setters.compute);
}
}  // namespace

void bindToStages(ID3D11DeviceContext* context, const StageBinding& binding, ID3D11ShaderResourceView* view)
{
    bind(
        context,
        binding,
        view,
        {
            .vertex = &ID3D11DeviceContext::VSSetShaderResources,
            .pixel = &ID3D11DeviceContext::PSSetShaderResources,
            .geometry = &ID3D11DeviceContext::GSSetShaderResources,
            .compute = &ID3D11DeviceContext::CSSetShaderResources,
        }
    );
}

void bindToStages(ID3D11DeviceContext* context, const StageBinding& binding, ID3D11SamplerState* sampler)
{
    bind(
        context,
        binding,
        sampler,
        {
            .vertex = &ID3D11DeviceContext::VSSetSamplers,
            .pixel = &ID3D11DeviceContext::PSSetSamplers,
            .geometry = &ID3D11DeviceContext::GSSetSamplers,
            .compute = &ID3D11DeviceContext::CSSetSamplers,
        }
    );
}

void bindToStages(ID3D11DeviceContext* context, const StageBinding& binding, ID3D11Buffer* constants)
{
    bind(
        context,
        binding,
        constants,
        {
            .vertex = &ID3D11DeviceContext::VSSetConstantBuffers,
            .pixel = &ID3D11DeviceContext::PSSetConstantBuffers,
            .geometry = &ID3D11DeviceContext::GSSetConstantBuffers,
            .compute = &ID3D11DeviceContext::CSSetConstantBuffers,
        }
    );
}
}  // namespace Render
