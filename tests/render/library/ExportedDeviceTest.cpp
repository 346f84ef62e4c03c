#include "octree/Tree.h"
#include "octree/entwine/EntwineTree.h"
#include "octree/potree/FileLoader.h"
#include "octree/potree/PoTreeTree.h"
#include "render/gpu/ComException.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/RenderPass.h"
#include "render/gpu/ShaderInclude.h"
#include "render/gpu/Texture2d.h"
#include "render/platform/Direct3D.h"
#include "render/pointcloud/LoDPointCloud.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/NodeRankingParameters.h"
#include "render/pointcloud/sharedNodePrioritizer.h"
#include "render/pointcloud/writeOctreeTexture.h"
#include "render/renderer/Renderer.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <system_error>
#include <vector>

namespace Render
{
namespace
{
template <class T>
bool hasAddress(const T& constant)
{
    const T* volatile address = &constant;  // the compiler cannot put the value in its place
    return address != nullptr;
}

TEST(Exported, ConstantsCanBeBoundToReferences)
{
    EXPECT_TRUE(hasAddress(PoTree::FileLoader::kMaxHierarchyChunkSize));
    EXPECT_TRUE(hasAddress(PoTree::PoTreeTree::kHierarchyCacheCapacity));
    EXPECT_TRUE(hasAddress(Entwine::Hierarchy::kMaxFileSize));
    EXPECT_TRUE(hasAddress(Entwine::Hierarchy::kCacheCapacity));
    EXPECT_TRUE(hasAddress(Entwine::HierarchyFile::kElsewhere));
    EXPECT_TRUE(hasAddress(NodeRankingParameters::kLoadingFrustumScale));
}

TEST(Exported, TheReadersGiveNodesAndRecords)
{
    const std::filesystem::path dataset = testData() / "autzen_brotli";
    const std::shared_ptr<const Octree::Tree> tree = Octree::openTree(Octree::Location::fromPath(dataset));
    const PoTree::PoTreeTree ofThreeFiles{PoTree::FileSystemLocation(dataset)};

    const std::shared_ptr<const PoTree::Node> root = ofThreeFiles.findNode({}, {});
    const auto info = tree->nodeById({}, {});

    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->childMask, info->childMask);
    EXPECT_EQ(tree->description().name, ofThreeFiles.description().name);
}

TEST(Exported, CloudsOfOneGroupShareTheirBudget)
{
    Renderer renderer;
    const LoDPointCloud cloud(12345, renderer.device(), renderer.deviceContext(), 1, 100);

    EXPECT_EQ(sharedNodePrioritizer(12345, 200)->totalMaxPointCount(), 100U);
    EXPECT_EQ(cloud.numVisiblePoints(), 0U);
    std::vector<std::uint8_t> texels;
    writeOctreeTexture({}, texels);
    EXPECT_TRUE(texels.empty());
}

TEST(Exported, ErrorsOfTheDeviceAreCaughtByType)
{
    Renderer renderer;
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = 20'000;  // more than the feature level has
    desc.Height = 1;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc.Count = 1;
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;

    EXPECT_THROW(Texture2d(renderer.device(), desc), ComException);
    EXPECT_THROW(PixelShader::fromHlslResource(renderer.device(), "shaders"), std::system_error);
}

TEST(Exported, ShadersAreFoundByTheirPaths)
{
    Renderer renderer;
    ShaderInclude include;
    const void* data = nullptr;
    UINT size = 0;

    EXPECT_NO_THROW(PixelShader::fromHlslResource(renderer.device(), "/shaders//box.hlsl/"));
    EXPECT_EQ(include.Open(D3D_INCLUDE_LOCAL, "no/such.hlsl", nullptr, &data, &size), E_FAIL);
    ASSERT_TRUE(SUCCEEDED(include.Open(D3D_INCLUDE_LOCAL, "shaders/box.hlsl", nullptr, &data, &size)));
    EXPECT_GT(size, 0U);
    include.Close(data);
}

TEST(Exported, ARenderPassHasItsTextures)
{
    Renderer renderer;
    ID3D11DeviceContext* const context = renderer.deviceContext();
    RenderPass pass(renderer.device(), 8, 8);
    pass.addRenderTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
    pass.addDepthBuffer(D3D11_CLEAR_DEPTH, 1.0F, 0);
    pass.setClearValue("color", Math::Color(1, 2, 3, 4));

    pass.begin(context);
    pass.clearAllRenderTargets(context, true);
    pass.end(context);

    EXPECT_EQ(pass.texture("color").desc().Width, 8U);
}
}  // namespace
}  // namespace Render
