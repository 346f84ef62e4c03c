#pragma once

/// Forward declarations of namespace Render and of the Direct3D interfaces that its headers only name.

struct ID3D11Device;
struct ID3D11DeviceContext;
struct ID3D11Resource;
struct ID3D11Buffer;
struct ID3D11Texture1D;
struct ID3D11Texture2D;
struct ID3D11InputLayout;
struct ID3D11VertexShader;
struct ID3D11PixelShader;
struct ID3D11GeometryShader;
struct ID3D11ComputeShader;
struct ID3D11RenderTargetView;
struct ID3D11DepthStencilView;
struct ID3D11ShaderResourceView;
struct ID3D11SamplerState;
struct ID3D11BlendState;
struct ID3D11DepthStencilState;
struct ID3D11RasterizerState;

namespace Render
{
template <class T>
class CComPtr;

// scene
class Viewport;
class Camera;
class Renderable;
class GroupRenderable;

// gpu
class ComException;
enum class ShaderConfiguration : unsigned int;
class Texture1d;
class Texture2d;
class IndexBuffer;
class RenderTargetView;
class DepthStencilView;
class ShaderResourceView;
class SamplerState;
class DepthStencilState;
class BlendState;
class RasterizerState;
class VertexShader;
template <class Interface>
class StageShader;
using PixelShader = StageShader<ID3D11PixelShader>;
using GeometryShader = StageShader<ID3D11GeometryShader>;
using ComputeShader = StageShader<ID3D11ComputeShader>;
class RenderPass;

// renderer
enum class RenderMode : int;
enum class ColorMap : int;
class Renderer;
class PostProcess;

// point clouds
class VertexContainer;
class NodePriority;
struct NodeId;
class NodePrioritizer;
struct Buffer;
struct NodeRecord;
struct BoxWithColor;
class Boxes;
class LoDPointCloud;
class PointCloudRenderable;
class IFilter;
class PointCloudFilter;
class PointCloudQuery;

// panoramas and meshes
class PanoRenderable;
class MeshLoader;
class ObjMeshLoader;
class MeshRenderable;
}  // namespace Render
