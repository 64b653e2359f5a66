#include <VqWebServices/WebServicesConfiguration.h>

#include "Values/CallerText.h"
#include "Values/WebServicesConfigurationImp.h"

namespace Velquor::WebServices {

using namespace Internal;

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
    m_imp->consumerKey.set(textFromCaller(text));
}

int WebServicesConfiguration::GetConsumerKey(wchar_t* buffer, int size) const {
    return copyText(m_imp->consumerKey.toText(), buffer, size);
}

void WebServicesConfiguration::SetConsumerSecret(const wchar_t* text) {
    m_imp->consumerSecret.set(textFromCaller(text));
}

int WebServicesConfiguration::GetConsumerSecret(wchar_t* buffer, int size) const {
    return copyText(m_imp->consumerSecret.toText(), buffer, size);
}

void WebServicesConfiguration::SetSerialNumber(const wchar_t* text) {
    m_imp->serialNumber = textFromCaller(text);
}

int WebServicesConfiguration::GetSerialNumber(wchar_t* buffer, int size) const {
    return copyText(m_imp->serialNumber, buffer, size);
}

void WebServicesConfiguration::SetProductLineCode(const wchar_t* text) {
    m_imp->productLineCode = textFromCaller(text);
}

int WebServicesConfiguration::GetProductLineCode(wchar_t* buffer, int size) const {
    return copyText(m_imp->productLineCode, buffer, size);
}

void WebServicesConfiguration::SetUPIRelease(const wchar_t* text) {
    m_imp->upiRelease = textFromCaller(text);
}

int WebServicesConfiguration::GetUPIRelease(wchar_t* buffer, int size) const {
    return copyText(m_imp->upiRelease, buffer, size);
}

void WebServicesConfiguration::SetUPIMaster(const wchar_t* text) {
    m_imp->upiMaster = textFromCaller(text);
}

int WebServicesConfiguration::GetUPIMaster(wchar_t* buffer, int size) const {
    return copyText(m_imp->upiMaster, buffer, size);
}

void WebServicesConfiguration::SetUPIBuild(const wchar_t* text) {
    m_imp->upiBuild = textFromCaller(text);
}

int WebServicesConfiguration::GetUPIBuild(wchar_t* buffer, int size) const {
    return copyText(m_imp->upiBuild, buffer, size);
}

void WebServicesConfiguration::SetFeatureName(const wchar_t* text) {
    m_imp->featureName = textFromCaller(text);
}

int WebServicesConfiguration::GetFeatureName(wchar_t* buffer, int size) const {
    return copyText(m_imp->featureName, buffer, size);
}

void WebServicesConfiguration::SetFeatureVersion(const wchar_t* text) {
    m_imp->featureVersion = textFromCaller(text);
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
    m_imp->oauth2ConsumerKey.set(textFromCaller(text));
}

int WebServicesConfiguration::GetOAuth2ConsumerKey(wchar_t* buffer, int size) const {
    return copyText(m_imp->oauth2ConsumerKey.toText(), buffer, size);
}

void WebServicesConfiguration::SetOAuth2ConsumerSecret(const wchar_t* text) {
    m_imp->oauth2ConsumerSecret.set(textFromCaller(text));
}

int WebServicesConfiguration::GetOAuth2ConsumerSecret(wchar_t* buffer, int size) const {
    return copyText(m_imp->oauth2ConsumerSecret.toText(), buffer, size);
}

void WebServicesConfiguration::SetOAuth2AccessTokenScope(const wchar_t* text) {
    m_imp->oauth2AccessTokenScope = textFromCaller(text);
}

int WebServicesConfiguration::GetOAuth2AccessTokenScope(wchar_t* buffer, int size) const {
    return copyText(m_imp->oauth2AccessTokenScope, buffer, size);
}

} // namespace Velquor::WebServices
