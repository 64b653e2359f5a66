#include <VqWebServices/WebServicesConfiguration.h>

#include "Values/CallerText.h"
#include "Values/WebServicesConfigurationImp.h"

namespace Velquor::WebServices {

using namespace Internal;

namespace {

void takeSecret(const char* operation, const wchar_t* text, Util::ProtectedText& target) {
    QString taken;
    if (takeText(operation, text, taken))
        target.set(taken);
}

} // namespace

WebServicesConfiguration::WebServicesConfiguration()
    : m_imp(new WebServicesConfigurationImp) {}

WebServicesConfiguration::WebServicesConfiguration(const WebServicesConfiguration& other)
    : m_imp(new WebServicesConfigurationImp(*other.m_imp)) {}

WebServicesConfiguration& WebServicesConfiguration::operator=(const WebServicesConfiguration& other) {
    if (this != &other)
        *m_imp = *other.m_imp;
    return *this;
}

WebServicesConfiguration::~WebServicesConfiguration() {
    delete m_imp;
}

void WebServicesConfiguration::SetConsumerKey(const wchar_t* text) {
    takeSecret("SetConsumerKey", text, m_imp->consumerKey);
}

int WebServicesConfiguration::GetConsumerKey(wchar_t* buffer, int size) const {
    return copyText(m_imp->consumerKey.toText(), buffer, size);
}

void WebServicesConfiguration::SetConsumerSecret(const wchar_t* text) {
    takeSecret("SetConsumerSecret", text, m_imp->consumerSecret);
}

int WebServicesConfiguration::GetConsumerSecret(wchar_t* buffer, int size) const {
    return copyText(m_imp->consumerSecret.toText(), buffer, size);
}

void WebServicesConfiguration::SetSerialNumber(const wchar_t* text) {
    takeText("SetSerialNumber", text, m_imp->serialNumber);
}

int WebServicesConfiguration::GetSerialNumber(wchar_t* buffer, int size) const {
    return copyText(m_imp->serialNumber, buffer, size);
}

void WebServicesConfiguration::SetProductLineCode(const wchar_t* text) {
    takeText("SetProductLineCode", text, m_imp->productLineCode);
}

int WebServicesConfiguration::GetProductLineCode(wchar_t* buffer, int size) const {
    return copyText(m_imp->productLineCode, buffer, size);
}

void WebServicesConfiguration::SetUPIRelease(const wchar_t* text) {
    takeText("SetUPIRelease", text, m_imp->upiRelease);
}

int WebServicesConfiguration::GetUPIRelease(wchar_t* buffer, int size) const {
    return copyText(m_imp->upiRelease, buffer, size);
}

void WebServicesConfiguration::SetUPIMaster(const wchar_t* text) {
    takeText("SetUPIMaster", text, m_imp->upiMaster);
}

int WebServicesConfiguration::GetUPIMaster(wchar_t* buffer, int size) const {
    return copyText(m_imp->upiMaster, buffer, size);
}

void WebServicesConfiguration::SetUPIBuild(const wchar_t* text) {
    takeText("SetUPIBuild", text, m_imp->upiBuild);
}

int WebServicesConfiguration::GetUPIBuild(wchar_t* buffer, int size) const {
    return copyText(m_imp->upiBuild, buffer, size);
}

void WebServicesConfiguration::SetFeatureName(const wchar_t* text) {
    takeText("SetFeatureName", text, m_imp->featureName);
}

int WebServicesConfiguration::GetFeatureName(wchar_t* buffer, int size) const {
    return copyText(m_imp->featureName, buffer, size);
}

void WebServicesConfiguration::SetFeatureVersion(const wchar_t* text) {
    takeText("SetFeatureVersion", text, m_imp->featureVersion);
}

int WebServicesConfiguration::GetFeatureVersion(wchar_t* buffer, int size) const {
    return copyText(m_imp->featureVersion, buffer, size);
}

void WebServicesConfiguration::SetCIPUserId(const wchar_t*) {}

int WebServicesConfiguration::GetCIPUserId(wchar_t* buffer, int size) const {
    return copyText(QString(), buffer, size);
}

void WebServicesConfiguration::SetServer(Server server) {
    m_imp->server = server;
}

Server WebServicesConfiguration::GetServer() const {
    return m_imp->server;
}

void WebServicesConfiguration::SetOAuth2ConsumerKey(const wchar_t* text) {
    takeSecret("SetOAuth2ConsumerKey", text, m_imp->oauth2ConsumerKey);
}

int WebServicesConfiguration::GetOAuth2ConsumerKey(wchar_t* buffer, int size) const {
    return copyText(m_imp->oauth2ConsumerKey.toText(), buffer, size);
}

void WebServicesConfiguration::SetOAuth2ConsumerSecret(const wchar_t* text) {
    takeSecret("SetOAuth2ConsumerSecret", text, m_imp->oauth2ConsumerSecret);
}

int WebServicesConfiguration::GetOAuth2ConsumerSecret(wchar_t* buffer, int size) const {
    return copyText(m_imp->oauth2ConsumerSecret.toText(), buffer, size);
}

void WebServicesConfiguration::SetOAuth2AccessTokenScope(const wchar_t* text) {
    takeText("SetOAuth2AccessTokenScope", text, m_imp->oauth2AccessTokenScope);
}

int WebServicesConfiguration::GetOAuth2AccessTokenScope(wchar_t* buffer, int size) const {
    return copyText(m_imp->oauth2AccessTokenScope, buffer, size);
}

} // namespace Velquor::WebServices
