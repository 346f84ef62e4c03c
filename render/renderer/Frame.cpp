#include "render/renderer/Frame.h"

#include "render/renderer/OutputPass.h"
#include "render/renderer/PassImages.h"
#include "render/renderer/ScenePass.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Render
{
Frame::Frame(const CComPtr<ID3D11Device>& device, const Camera& camera, std::uint64_t rendererId)
{
    mPasses.push_back(std::make_unique<ScenePass>(device, camera, rendererId));
    mPasses.push_back(std::make_unique<OutputPass>(device, camera));
    mOutput = mPasses.back().get();
    mPicture = mOutput;
}

void Frame::addEffect(std::unique_ptr<ScreenPass> effect)
{
    const auto output = std::find_if(
        mPasses.begin(), mPasses.end(), [this](const auto& pass) { return pass.get() == mOutput; }
    );
    mPasses.insert(output, std::move(effect));
}

void Frame::addPictureEffect(std::unique_ptr<ScreenPass> effect)
{
    mPasses.push_back(std::move(effect));
}

void Frame::removeEffect(const ScreenPass& effect) noexcept
{
    if (mPicture == &effect)
    {
        mPicture = mOutput;
    }
    std::erase_if(mPasses, [&effect](const auto& pass) { return pass.get() == &effect; });
}

Frame::Textures Frame::texturesOfSize(unsigned int width, unsigned int height) const
{
    Textures textures;
    for (const std::unique_ptr<FramePass>& pass : mPasses)
    {
        textures.push_back(pass->targets().texturesOfSize(width, height));
    }
    return textures;
}

void Frame::use(Textures textures) noexcept
{
    for (std::size_t i = 0; i < mPasses.size(); ++i)
    {
        mPasses[i]->targets().use(std::move(textures[i]));
    }
}

void Frame::draw(
    ID3D11DeviceContext* context, View& view, PostProcess& postProcess, const Math::Color& background
)
{
    const FrameInput input{context, view, postProcess, background};
    PassImages images;
    for (const std::unique_ptr<FramePass>& pass : mPasses)
    {
        if (pass->isOn(input))
        {
            pass->draw(input, images);
            images.add(pass->targets());
            if (pass->targets().hasRenderTarget("color"))
            {
                mPicture = pass.get();
            }
        }
    }
}
}  // namespace Render
