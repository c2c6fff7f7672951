#include "CoreMIDI/AlsaSequencer.h"

#include <alsa/asoundlib.h>

#include <array>
#include <new>
#include <string_view>
#include <utility>

namespace kivo::midi {
namespace {

/// Gives back what a function of ALSA made, by the function that ALSA has for it.
template <auto kFree>
struct Freed {
    template <typename Object>
    void operator()(Object* object) const {
        kFree(object);
    }
};
using Connection = std::unique_ptr<snd_seq_t, Freed<snd_seq_close>>;
using Decoder = std::unique_ptr<snd_midi_event_t, Freed<snd_midi_event_free>>;
using Configuration = std::unique_ptr<snd_config_t, Freed<snd_config_delete>>;
using ClientInfo = std::unique_ptr<snd_seq_client_info_t, Freed<snd_seq_client_info_free>>;
using PortInfo = std::unique_ptr<snd_seq_port_info_t, Freed<snd_seq_port_info_free>>;

/// The longest event that is not system exclusive, a parameter number with its value, is decoded
/// into four messages of three bytes.
constexpr std::size_t kLongestMessage = 12;

template <typename Owner, auto kAllocate>
Owner Allocated() {
    typename Owner::pointer object = nullptr;
    if (kAllocate(&object) < 0) throw std::bad_alloc();
    return Owner(object);
}

constexpr std::pair<unsigned, Capability> kCapabilities[] = {
    {SND_SEQ_PORT_CAP_READ, kCanBeRead},
    {SND_SEQ_PORT_CAP_WRITE, kCanBeWritten},
    {SND_SEQ_PORT_CAP_SUBS_READ, kCanBeSubscribedForReading},
    {SND_SEQ_PORT_CAP_SUBS_WRITE, kCanBeSubscribedForWriting},
    {SND_SEQ_PORT_CAP_NO_EXPORT, kIsPrivate},
};

unsigned FromAlsa(unsigned bits) {
    unsigned capabilities = 0;
    for (const auto& [bit, capability] : kCapabilities) {
        if ((bits & bit) != 0) capabilities |= capability;
    }
    return capabilities;
}

unsigned ToAlsa(unsigned capabilities) {
    unsigned bits = 0;
    for (const auto& [bit, capability] : kCapabilities) {
        if ((capabilities & capability) != 0) bits |= bit;
    }
    return bits;
}

class AlsaSequencer final : public Sequencer {
  public:
    AlsaSequencer(Connection connection, Decoder decoder)
        : mConnection(std::move(connection)), mDecoder(std::move(decoder)) {
        pollfd descriptor{};
        snd_seq_poll_descriptors(mConnection.get(), &descriptor, 1, POLLIN);
        mDescriptor = descriptor.fd;
    }

    std::vector<SequencerClient> Clients() override;
    int CreatePort(const std::string& name, unsigned capabilities) override;
    int Subscribe(Address source, int port) override;
    int Descriptor() const override { return mDescriptor; }
    int Read(Event& event) override;

  private:
    std::vector<SequencerPort> PortsOf(int client);
    std::span<const std::uint8_t> BytesOf(const snd_seq_event_t& event);

    Connection mConnection;
    Decoder mDecoder;
    std::array<std::uint8_t, kLongestMessage> mMessage{};
    int mDescriptor = -1;
};

std::vector<SequencerClient> AlsaSequencer::Clients() {
    std::vector<SequencerClient> clients;
    const auto info = Allocated<ClientInfo, snd_seq_client_info_malloc>();
    snd_seq_client_info_set_client(info.get(), -1);
    while (snd_seq_query_next_client(mConnection.get(), info.get()) >= 0) {
        SequencerClient client;
        client.number = snd_seq_client_info_get_client(info.get());
        client.name = snd_seq_client_info_get_name(info.get());
        client.isKernel = snd_seq_client_info_get_type(info.get()) == SND_SEQ_KERNEL_CLIENT;
        client.card = client.isKernel ? snd_seq_client_info_get_card(info.get()) : -1;
        client.ports = PortsOf(client.number);
        clients.push_back(std::move(client));
    }
    return clients;
}

std::vector<SequencerPort> AlsaSequencer::PortsOf(int client) {
    std::vector<SequencerPort> ports;
    const auto info = Allocated<PortInfo, snd_seq_port_info_malloc>();
    snd_seq_port_info_set_client(info.get(), client);
    snd_seq_port_info_set_port(info.get(), -1);
    while (snd_seq_query_next_port(mConnection.get(), info.get()) >= 0) {
        ports.push_back({snd_seq_port_info_get_port(info.get()),
                         snd_seq_port_info_get_name(info.get()),
                         FromAlsa(snd_seq_port_info_get_capability(info.get()))});
    }
    return ports;
}

int AlsaSequencer::CreatePort(const std::string& name, unsigned capabilities) {
    return snd_seq_create_simple_port(
        mConnection.get(), name.c_str(), ToAlsa(capabilities),
        SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
}

int AlsaSequencer::Subscribe(Address source, int port) {
    return snd_seq_connect_from(mConnection.get(), port, source.client, source.port);
}

int AlsaSequencer::Read(Event& event) {
    snd_seq_event_t* arrived = nullptr;
    const int status = snd_seq_event_input(mConnection.get(), &arrived);
    if (status < 0) return status;
    event.source = {arrived->source.client, arrived->source.port};
    event.port = arrived->dest.port;
    event.bytes = BytesOf(*arrived);
    return 0;
}

std::span<const std::uint8_t> AlsaSequencer::BytesOf(const snd_seq_event_t& event) {
    if (event.type == SND_SEQ_EVENT_SYSEX) {
        return {static_cast<const std::uint8_t*>(event.data.ext.ptr), event.data.ext.len};
    }
    const long length = snd_midi_event_decode(mDecoder.get(), mMessage.data(),
                                              static_cast<long>(mMessage.size()), &event);
    return {mMessage.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// The library says what failed by its results too; on standard error it need not.
void PrintNothing(const char*, int, const char*, int, const char*, ...) {}

/// What the system's configuration says of this device, without reading those files: they may be
/// missing, and parsing them takes longer than everything else here.
Configuration HardwareConfiguration() {
    constexpr std::string_view kText = "seq.hw.type hw\n";
    auto configuration = Allocated<Configuration, snd_config_top>();
    snd_input_t* input = nullptr;
    if (snd_input_buffer_open(&input, kText.data(), static_cast<ssize_t>(kText.size())) < 0) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<snd_input_t, Freed<snd_input_close>> owned(input);
    if (snd_config_load(configuration.get(), input) < 0) throw std::bad_alloc();
    return configuration;
}

Decoder MakeDecoder() {
    snd_midi_event_t* decoder = nullptr;
    if (snd_midi_event_new(kLongestMessage, &decoder) < 0) throw std::bad_alloc();
    snd_midi_event_no_status(decoder, 1);
    return Decoder(decoder);
}

}  // namespace

OpenedSequencer OpenAlsaSequencer(const std::string& clientName) {
    snd_lib_error_set_handler(PrintNothing);
    snd_seq_t* handle = nullptr;
    const int status = snd_seq_open_lconf(&handle, "hw", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK,
                                          HardwareConfiguration().get());
    if (status < 0) return {nullptr, status};
    Connection connection(handle);
    const int named = snd_seq_set_client_name(handle, clientName.c_str());
    if (named < 0) return {nullptr, named};
    return {std::make_unique<AlsaSequencer>(std::move(connection), MakeDecoder()), 0};
}

}  // namespace kivo::midi
