#include "platform/camera/PipeWireCameras.h"

#include "platform/camera/PipeWireParameters.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/param/props.h>
#include <spa/pod/builder.h>
#include <spa/utils/keys.h>
#include <unistd.h>
#include <vector>

// PipeWire's methods are macros that cast what they are called on.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace platform {

namespace {

/// A value of a dictionary; empty when it has none.
QString textOf(const spa_dict* properties, const char* key)
{
    const char* text = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
    return QString::fromUtf8(text);
}

uint32_t numberOf(const spa_dict* properties, const char* key)
{
    return textOf(properties, key).toUInt();
}

struct Link {
    uint32_t output = 0; ///< number of a node
    uint32_t input = 0;
};

} // namespace

class PipeWireCameras::Connection {
public:
    Connection(pw_core* core, Observer observer);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool setControl(const QString& name, quint32 id, int value);

private:
    /// A camera's node. Its address is the data pointer of PipeWire's callbacks.
    struct Node {
        Connection* connection = nullptr;
        CameraNode camera;
        quint64 serial = 0;
        pw_proxy* proxy = nullptr;
        spa_hook listener{};
        uint32_t formatFlags = 0;
        uint32_t controlFlags = 0;
        int formatRequest = 0;
        int controlRequest = 0;
        bool isKnown = false; ///< its parameters have been requested

        ~Node();
        void update(const pw_node_info* info);
        void take(int request, uint32_t id, const spa_pod* parameter);
    };

    void add(uint32_t id, const char* type, const spa_dict* properties);
    void remove(uint32_t id);
    void addCamera(uint32_t id, const spa_dict* properties);
    void followDefault(uint32_t id, const spa_dict* properties);
    void setDefault(const char* value);
    void changed();
    void publish();
    bool isInUse(const CameraNode& camera) const;

    static Connection* from(void* data) { return static_cast<Connection*>(data); }
    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;
    static const pw_metadata_events metadataEvents;
    static const pw_node_events nodeEvents;

    Observer m_observer;
    pw_core* m_core;
    pw_registry* m_registry;
    pw_proxy* m_metadata = nullptr;
    uint32_t m_metadataID = 0;
    spa_hook m_coreListener{};
    spa_hook m_registryListener{};
    spa_hook m_metadataListener{};
    int m_sync = 0; ///< the last request; its answer follows those of all earlier ones
    bool m_isLost = false;
    QString m_default;
    std::map<uint32_t, std::unique_ptr<Node>> m_cameras;
    std::map<uint32_t, uint32_t> m_clientOfNode;
    std::map<uint32_t, uint32_t> m_processOfClient;
    std::map<uint32_t, Link> m_links;
};

const pw_core_events PipeWireCameras::Connection::coreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* data, uint32_t id, int answered) {
        if (id == PW_ID_CORE && answered == from(data)->m_sync) {
            from(data)->publish();
        }
    };
    events.error = [](void* data, uint32_t id, int, int result, const char*) {
        Connection* connection = from(data);
        if (id == PW_ID_CORE && result == -EPIPE && !connection->m_isLost) {
            connection->m_isLost = true;
            connection->m_observer.lost();
        }
    };
    return events;
}();

const pw_registry_events PipeWireCameras::Connection::registryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                        const spa_dict* properties) { from(data)->add(id, type, properties); };
    events.global_remove = [](void* data, uint32_t id) { from(data)->remove(id); };
    return events;
}();

const pw_metadata_events PipeWireCameras::Connection::metadataEvents = [] {
    pw_metadata_events events{};
    events.version = PW_VERSION_METADATA_EVENTS;
    events.property = [](void* data, uint32_t, const char* key, const char*, const char* value) {
        // No key: all values have been cleared.
        if (key == nullptr || std::strcmp(key, "default.video.source") == 0) {
            from(data)->setDefault(key == nullptr ? nullptr : value);
        }
        return 0;
    };
    return events;
}();

const pw_node_events PipeWireCameras::Connection::nodeEvents = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.info
        = [](void* data, const pw_node_info* info) { static_cast<Node*>(data)->update(info); };
    events.param
        = [](void* data, int request, uint32_t id, uint32_t, uint32_t, const spa_pod* parameter) {
              static_cast<Node*>(data)->take(request, id, parameter);
          };
    return events;
}();

PipeWireCameras::Connection::Connection(pw_core* core, Observer observer)
    : m_observer(std::move(observer))
    , m_core(core)
    , m_registry(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0))
{
    pw_core_add_listener(m_core, &m_coreListener, &coreEvents, this);
    pw_registry_add_listener(m_registry, &m_registryListener, &registryEvents, this);
    changed();
}

PipeWireCameras::Connection::~Connection()
{
    m_cameras.clear();
    if (m_metadata != nullptr) {
        spa_hook_remove(&m_metadataListener);
        pw_proxy_destroy(m_metadata);
    }
    spa_hook_remove(&m_registryListener);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(m_registry));
    spa_hook_remove(&m_coreListener);
    pw_core_disconnect(m_core);
}

PipeWireCameras::Connection::Node::~Node()
{
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
}

void PipeWireCameras::Connection::Node::update(const pw_node_info* info)
{
    if ((info->change_mask & PW_NODE_CHANGE_MASK_STATE) != 0) {
        camera.isRunning = info->state == PW_NODE_STATE_RUNNING;
    }
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0) {
        camera.devicePath = textOf(info->props, SPA_KEY_API_V4L2_PATH);
    }
    const auto request = [this](uint32_t id) {
        return pw_node_enum_params(
            reinterpret_cast<pw_node*>(proxy), 0, id, 0, UINT32_MAX, nullptr);
    };
    // The flags of a parameter toggle with each change of it.
    uint32_t ofFormats = formatFlags;
    uint32_t ofControls = controlFlags;
    for (uint32_t i = 0; i < info->n_params; ++i) {
        if (info->params[i].id == SPA_PARAM_EnumFormat) {
            ofFormats = info->params[i].flags;
        } else if (info->params[i].id == SPA_PARAM_PropInfo) {
            ofControls = info->params[i].flags;
        }
    }
    if (!isKnown || ofFormats != formatFlags) {
        camera.formats.clear();
        formatRequest = request(SPA_PARAM_EnumFormat);
    }
    if (!isKnown || ofControls != controlFlags) {
        camera.controls.clear();
        controlRequest = request(SPA_PARAM_PropInfo);
    }
    formatFlags = ofFormats;
    controlFlags = ofControls;
    isKnown = true;
    connection->changed();
}

void PipeWireCameras::Connection::Node::take(int request, uint32_t id, const spa_pod* parameter)
{
    if (parameter == nullptr) {
        return;
    }
    if (id == SPA_PARAM_EnumFormat && request == formatRequest) {
        camera.formats += cameraFormats(parameter);
    } else if (id == SPA_PARAM_PropInfo && request == controlRequest) {
        if (const auto control = cameraControl(parameter)) {
            camera.controls.append(*control);
        }
    }
}

void PipeWireCameras::Connection::add(uint32_t id, const char* type, const spa_dict* properties)
{
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
        m_clientOfNode[id] = numberOf(properties, PW_KEY_CLIENT_ID);
        if (textOf(properties, PW_KEY_MEDIA_CLASS) == QLatin1String("Video/Source")) {
            addCamera(id, properties);
        }
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Client) == 0) {
        m_processOfClient[id] = numberOf(properties, PW_KEY_SEC_PID);
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Link) == 0) {
        m_links[id] = { numberOf(properties, PW_KEY_LINK_OUTPUT_NODE),
            numberOf(properties, PW_KEY_LINK_INPUT_NODE) };
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0) {
        followDefault(id, properties);
    } else {
        return;
    }
    changed();
}

void PipeWireCameras::Connection::remove(uint32_t id)
{
    if (m_metadata != nullptr && id == m_metadataID) {
        spa_hook_remove(&m_metadataListener);
        pw_proxy_destroy(m_metadata);
        m_metadata = nullptr;
        m_default.clear();
    } else if (m_cameras.erase(id) + m_clientOfNode.erase(id) + m_processOfClient.erase(id)
            + m_links.erase(id)
        == 0) {
        return;
    }
    changed();
}

void PipeWireCameras::Connection::addCamera(uint32_t id, const spa_dict* properties)
{
    auto node = std::make_unique<Node>();
    node->connection = this;
    node->serial = textOf(properties, PW_KEY_OBJECT_SERIAL).toULongLong();
    node->camera.id = id;
    node->camera.name = textOf(properties, PW_KEY_NODE_NAME);
    node->camera.description = textOf(properties, PW_KEY_NODE_DESCRIPTION);
    if (node->camera.description.isEmpty()) {
        node->camera.description = node->camera.name;
    }
    node->proxy = static_cast<pw_proxy*>(
        pw_registry_bind(m_registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    if (node->proxy == nullptr) {
        return;
    }
    pw_node_add_listener(
        reinterpret_cast<pw_node*>(node->proxy), &node->listener, &nodeEvents, node.get());
    m_cameras[id] = std::move(node);
}

void PipeWireCameras::Connection::followDefault(uint32_t id, const spa_dict* properties)
{
    if (m_metadata != nullptr
        || textOf(properties, PW_KEY_METADATA_NAME) != QLatin1String("default")) {
        return;
    }
    m_metadata = static_cast<pw_proxy*>(
        pw_registry_bind(m_registry, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (m_metadata == nullptr) {
        return;
    }
    m_metadataID = id;
    pw_metadata_add_listener(
        reinterpret_cast<pw_metadata*>(m_metadata), &m_metadataListener, &metadataEvents, this);
}

void PipeWireCameras::Connection::setDefault(const char* value)
{
    m_default = QJsonDocument::fromJson(QByteArray(value))
                    .object()
                    .value(QLatin1String("name"))
                    .toString();
    changed();
}

void PipeWireCameras::Connection::changed()
{
    m_sync = pw_core_sync(m_core, PW_ID_CORE, 0);
}

void PipeWireCameras::Connection::publish()
{
    std::vector<const Node*> nodes;
    for (const auto& [id, node] : m_cameras) {
        if (node->isKnown && !node->camera.name.isEmpty()) {
            nodes.push_back(node.get());
        }
    }
    std::sort(nodes.begin(), nodes.end(),
        [](const Node* left, const Node* right) { return left->serial < right->serial; });
    CameraListing listing{ {}, m_default };
    for (const Node* node : nodes) {
        listing.cameras.append(node->camera);
        listing.cameras.last().isInUse = isInUse(node->camera);
    }
    m_observer.changed(std::move(listing));
}

bool PipeWireCameras::Connection::isInUse(const CameraNode& camera) const
{
    const auto isForeign = [this](uint32_t node) {
        const auto client = m_clientOfNode.find(node);
        if (client == m_clientOfNode.end()) {
            return false;
        }
        const auto process = m_processOfClient.find(client->second);
        return process != m_processOfClient.end()
            && process->second != static_cast<uint32_t>(getpid());
    };
    return camera.isRunning && std::any_of(m_links.begin(), m_links.end(), [&](const auto& link) {
        return link.second.output == camera.id && isForeign(link.second.input);
    });
}

bool PipeWireCameras::Connection::setControl(const QString& name, quint32 id, int value)
{
    for (const auto& [number, node] : m_cameras) {
        const auto& controls = node->camera.controls;
        const auto control = std::find_if(controls.begin(), controls.end(),
            [id](const CameraControl& each) { return each.id == id; });
        if (node->camera.name != name || control == controls.end()) {
            continue;
        }
        uint8_t memory[256];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory, sizeof memory);
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
        spa_pod_builder_prop(&builder, SPA_PROP_START_CUSTOM + id, 0);
        if (control->choices.isEmpty()) {
            spa_pod_builder_bool(&builder, value != 0);
        } else {
            spa_pod_builder_int(&builder, value);
        }
        const auto* properties = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
        return pw_node_set_param(
                   reinterpret_cast<pw_node*>(node->proxy), SPA_PARAM_Props, 0, properties)
            >= 0;
    }
    return false;
}

std::unique_ptr<PipeWireCameras> PipeWireCameras::connected(
    pw_context* context, int descriptor, Observer observer)
{
    pw_core* core = descriptor < 0 ? pw_context_connect(context, nullptr, 0)
                                   : pw_context_connect_fd(context, descriptor, nullptr, 0);
    if (core == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<PipeWireCameras>(
        new PipeWireCameras(std::make_unique<Connection>(core, std::move(observer))));
}

PipeWireCameras::PipeWireCameras(std::unique_ptr<Connection> connection)
    : m_connection(std::move(connection))
{
}

PipeWireCameras::~PipeWireCameras() = default;

bool PipeWireCameras::setControl(const QString& name, quint32 id, int value)
{
    return m_connection->setControl(name, id, value);
}

} // namespace platform
