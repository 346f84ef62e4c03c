#include "render/gpu/MappedResource.h"
#include "render/gpu/Texture1d.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{
class MappedResourceDevice : public DeviceFixture
{
protected:
    Render::Texture1d texture(D3D11_USAGE usage)
    {
        D3D11_TEXTURE1D_DESC desc{};
        desc.Width = 4;
        desc.MipLevels = 1;
        desc.ArraySize = 1;
        desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
        desc.Usage = usage;
        desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
        desc.CPUAccessFlags = usage == D3D11_USAGE_DYNAMIC ? UINT{D3D11_CPU_ACCESS_WRITE} : 0U;
        return Render::Texture1d(device(), desc);
    }

    static std::vector<std::string> functionsOf(const CheckedContext& checked)
    {
        std::vector<std::string> functions;
        for (const std::string& call : checked.calls())
        {
            functions.push_back(call.substr(0, call.find(' ')));
        }
        return functions;
    }
};
}  // namespace

TEST_F(MappedResourceDevice, AnExceptionEndsTheMapping)
{
    const Render::Texture1d dynamic = texture(D3D11_USAGE_DYNAMIC);
    CheckedContext checked(context());

    EXPECT_THROW(
        {
            const Render::MappedResource mapped(&checked, dynamic.get(), D3D11_MAP_WRITE_DISCARD);
            throw std::runtime_error("while mapped");
        },
        std::runtime_error
    );

    EXPECT_EQ(functionsOf(checked), (std::vector<std::string>{"Map", "Unmap"}));
}

TEST_F(MappedResourceDevice, WhatCannotBeMappedIsNotUnmapped)
{
    const Render::Texture1d unmappable = texture(D3D11_USAGE_DEFAULT);
    CheckedContext checked(context());

    EXPECT_EQ(
        resultOf([&]
                 { const Render::MappedResource mapped(&checked, unmappable.get(), D3D11_MAP_WRITE_DISCARD); }
        ),
        E_INVALIDARG
    );

    EXPECT_EQ(functionsOf(checked), (std::vector<std::string>{"Map"}));
}
