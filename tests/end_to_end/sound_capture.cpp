#include "tests/end_to_end/sound_capture.h"

#include <windows.h>
#include <audioclient.h>
#include <mmdeviceapi.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace vistrame::test {
namespace {

constexpr REFERENCE_TIME kBuffer = 10'000'000; // 1 s: a machine that is busy for a moment loses nothing
constexpr double kGap = 0.1;                   // s; larger than what packets are late by

bool Open(ComPtr<IAudioClient>& client, ComPtr<IAudioCaptureClient>& capture) {
    ComPtr<IMMDeviceEnumerator> devices;
    ComPtr<IMMDevice> device;
    WAVEFORMATEX format{WAVE_FORMAT_PCM, 2, Sound::kRate, Sound::kRate * 4, 4, 16, 0};
    return SUCCEEDED(
               CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL, IID_PPV_ARGS(&devices))) &&
           SUCCEEDED(devices->GetDefaultAudioEndpoint(eCapture, eConsole, &device)) &&
           SUCCEEDED(device->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                      reinterpret_cast<void**>(client.GetAddressOf()))) &&
           SUCCEEDED(client->Initialize(AUDCLNT_SHAREMODE_SHARED, 0, kBuffer, 0, &format, nullptr)) &&
           SUCCEEDED(client->GetService(__uuidof(IAudioCaptureClient),
                                        reinterpret_cast<void**>(capture.GetAddressOf()))) &&
           SUCCEEDED(client->Start());
}

void Append(std::vector<float>& samples, const BYTE* data, UINT32 frames) {
    const auto* values = reinterpret_cast<const std::int16_t*>(data);
    for (UINT32 i = 0; i < frames; ++i) {
        samples.push_back(static_cast<float>(values[2 * i] + values[2 * i + 1]) / 65536.0F);
    }
}

} // namespace

double SoundCapture::Now() {
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

SoundCapture::SoundCapture() : thread_([this] { Run(); }) {}

SoundCapture::~SoundCapture() {
    (void)Stop(); // the sound goes with the object
}

const Sound& SoundCapture::Stop() {
    stop_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
    return sound_;
}

void SoundCapture::Run() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    {
        ComPtr<IAudioClient> client;
        ComPtr<IAudioCaptureClient> capture;
        const bool open = Open(client, capture);
        EXPECT_TRUE(open) << "no sound can be recorded";
        sound_.begin = Now();
        while (open && !stop_) {
            Sleep(5);
            BYTE* data = nullptr;
            UINT32 frames = 0;
            DWORD flags = 0;
            UINT64 when = 0; // 100 ns of the performance counter
            while (capture->GetBuffer(&data, &frames, &flags, nullptr, &when) == S_OK && frames > 0) {
                const double due = static_cast<double>(when) / 1e7 - sound_.begin;
                const double have = static_cast<double>(sound_.samples.size()) / Sound::kRate;
                if (due - have > kGap) {
                    sound_.samples.resize(static_cast<std::size_t>(due * Sound::kRate), 0.0F);
                }
                Append(sound_.samples, data, frames);
                capture->ReleaseBuffer(frames);
            }
        }
    }
    CoUninitialize();
}

} // namespace vistrame::test
