#include "render/gpu/ConstantBlock.h"
#include "render/gpu/ConstantBuffer.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

using Render::ConstantBlock;
using Render::ConstantBuffer;
using Render::ShaderConfiguration;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
struct Block
{
    std::array<float, 4> values{1.0f, 2.0f, 3.0f, 4.0f};
};

class ConstantBufferDevice : public DeviceFixture
{
public:
    static std::array<float, 4> contents(ID3D11Buffer* buffer)
    {
        const auto bytes = readBack(buffer);
        std::array<float, 4> values{};
        EXPECT_EQ(bytes.size(), sizeof values);
        std::memcpy(values.data(), bytes.data(), sizeof values);
        return values;
    }

    static std::span<const std::byte> bytesOf(const std::array<float, 4>& values)
    {
        return std::as_bytes(std::span(values));
    }
};
}  // namespace

TEST_F(ConstantBufferDevice, IsDynamicAndOfTheGivenSize)
{
    const ConstantBuffer buffer(device(), 96);

    D3D11_BUFFER_DESC desc{};
    buffer.get()->GetDesc(&desc);
    EXPECT_EQ(desc.ByteWidth, 96U);
    EXPECT_EQ(desc.Usage, D3D11_USAGE_DYNAMIC);
    EXPECT_EQ(desc.BindFlags, D3D11_BIND_CONSTANT_BUFFER);
    EXPECT_EQ(desc.CPUAccessFlags, D3D11_CPU_ACCESS_WRITE);
    EXPECT_EQ(desc.MiscFlags, 0U);
}

TEST_F(ConstantBufferDevice, RefusedSizesThrowTheResult)
{
    EXPECT_EQ(resultOf([&] { ConstantBuffer(device(), 0); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { ConstantBuffer(device(), 100); }), E_INVALIDARG);
}

TEST_F(ConstantBufferDevice, UpdateReplacesTheContents)
{
    ConstantBuffer buffer(device(), 16);
    CheckedContext checked(context());

    buffer.update(&checked, bytesOf({5.0f, 6.0f, 7.0f, 8.0f}));

    EXPECT_THAT(contents(buffer.get()), ElementsAre(5.0f, 6.0f, 7.0f, 8.0f));
    EXPECT_THAT(checked.calls(), ElementsAre("Map ? 4", "Unmap ?"));  // D3D11_MAP_WRITE_DISCARD
}

TEST_F(ConstantBufferDevice, BytesOfAnotherNumberAreRefused)
{
    ConstantBuffer buffer(device(), 32);

    EXPECT_EQ(
        messageOf<std::invalid_argument>(
            [&] {
                buffer.update(context(), bytesOf({5.0f, 6.0f, 7.0f, 8.0f}));
            }
        ),
        "Error: a constant buffer of 32 bytes cannot take 16"
    );
}

TEST_F(ConstantBufferDevice, AfterAFailedUploadABlockIsNotBoundAndUploadsAgain)
{
    ConstantBlock<Block> block(device());
    faults().failAt(1, CallFaults::Kind::OutOfMemory);

    EXPECT_EQ(resultOf([&] { block.begin(context(), ShaderConfiguration::Pixel, 0); }), E_OUTOFMEMORY);
    EXPECT_TRUE(block.isDirty());
    EXPECT_THAT(boundObjects(context()), IsEmpty());

    block.begin(context(), ShaderConfiguration::Pixel, 0);
    EXPECT_FALSE(block.isDirty());
    block.end(context());
}

TEST_F(ConstantBufferDevice, BeginBindsTheStagesInOrderAndEndUnbindsThem)
{
    ConstantBuffer buffer(device(), 16);
    CheckedContext checked(context());
    checked.name(buffer.get(), "buffer");

    buffer.begin(
        &checked,
        ShaderConfiguration::Compute | ShaderConfiguration::Geometry | ShaderConfiguration::Pixel |
            ShaderConfiguration::Vertex,
        3
    );
    buffer.end(&checked);

    EXPECT_THAT(
        checked.calls(),
        ElementsAre(
            "VSSetConstantBuffers 3 buffer",
            "PSSetConstantBuffers 3 buffer",
            "GSSetConstantBuffers 3 buffer",
            "CSSetConstantBuffers 3 buffer",
            "VSSetConstantBuffers 3 null",
            "PSSetConstantBuffers 3 null",
            "GSSetConstantBuffers 3 null",
            "CSSetConstantBuffers 3 null"
        )
    );
}

TEST_F(ConstantBufferDevice, BeginAndEndComeInPairs)
{
    ConstantBuffer buffer(device(), 16);

    EXPECT_EQ(messageOf<std::logic_error>([&] { buffer.end(context()); }), "Error: begin call is missing");
    buffer.begin(context(), ShaderConfiguration::Pixel, 0);
    EXPECT_TRUE(buffer.isBound());
    EXPECT_EQ(
        messageOf<std::logic_error>([&] { buffer.begin(context(), ShaderConfiguration::Vertex, 1); }),
        "Error: end call is missing"
    );
    EXPECT_THAT(boundObjects(context()), ElementsAre("PS constant buffer 0"));

    buffer.end(context());
    EXPECT_FALSE(buffer.isBound());
    EXPECT_THAT(boundObjects(context()), IsEmpty());
}

TEST_F(ConstantBufferDevice, ABlockIsUploadedWithTheFirstBegin)
{
    ConstantBlock<Block> block(device());
    CheckedContext checked(context());
    checked.name(block.get(), "block");
    EXPECT_TRUE(block.isDirty());

    block.begin(&checked, ShaderConfiguration::Pixel, 0);

    EXPECT_FALSE(block.isDirty());
    EXPECT_THAT(checked.calls(), ElementsAre("Map block 4", "Unmap block", "PSSetConstantBuffers 0 block"));
    EXPECT_THAT(contents(block.get()), ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));
}

TEST_F(ConstantBufferDevice, AnUnchangedBlockIsNotUploadedAgain)
{
    ConstantBlock<Block> block(device());
    CheckedContext checked(context());
    checked.name(block.get(), "block");
    block.begin(&checked, ShaderConfiguration::Pixel, 0);
    block.end(&checked);
    checked.forgetCalls();

    block.begin(&checked, ShaderConfiguration::Pixel, 0);

    EXPECT_THAT(checked.calls(), ElementsAre("PSSetConstantBuffers 0 block"));
}

TEST_F(ConstantBufferDevice, TwoChangesOfABlockAreOneUpload)
{
    ConstantBlock<Block> block(device());
    block.begin(context(), ShaderConfiguration::Pixel, 0);
    block.end(context());
    CheckedContext checked(context());
    checked.name(block.get(), "block");

    block.edit().values[0] = 10.0f;
    block.edit().values[3] = 40.0f;
    block.begin(&checked, ShaderConfiguration::Pixel, 0);

    EXPECT_THAT(checked.calls(), ElementsAre("Map block 4", "Unmap block", "PSSetConstantBuffers 0 block"));
    EXPECT_THAT(contents(block.get()), ElementsAre(10.0f, 2.0f, 3.0f, 40.0f));
}

TEST_F(ConstantBufferDevice, ABlockThatIsBoundAlreadyKeepsItsChanges)
{
    ConstantBlock<Block> block(device());
    block.begin(context(), ShaderConfiguration::Pixel, 0);
    block.edit().values[0] = 10.0f;

    EXPECT_EQ(
        messageOf<std::logic_error>([&] { block.begin(context(), ShaderConfiguration::Pixel, 0); }),
        "Error: end call is missing"
    );
    EXPECT_TRUE(block.isDirty());
}
