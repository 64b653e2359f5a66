#include "Network/Urls/UrlKeys.h"

#include <iterator>

namespace Velquor::WebServices::Internal {

namespace {

// In the order of WebServicesUrlCode.
constexpr const char* keys[] = {
    "AccountServerUrl",
    "LoggedInUrlEndPoint",
    "RegisterEndPoint",
    "UpdateProfileEndPoint",
    "StorageOnlineUrl",
    "StorageApiUrl",
    "StorageRoot",
    "ShareUrl",
    "QuillonStorageEndPoint",
    "BrasketStorageEndPoint",
    "ExchangeUrl",
    "SyncInstallFailedHelpUrl",
    "SyncUpdateUrl",
    "StorageOptionsUrl",
    "TroubleshootSyncErrorsUrl",
    "PatchFileRestEndPoint",
    "SyncConfigUrl",
    "BrasketStorageEndPointRestFolder",
    "BrasketStorageEndPointRestFile",
    "QuillonStorageEndPointRestFolder",
    "QuillonStorageEndPointRestFile",
    "ReferenceUrl",
    "ReferenceEndPointPostRefs",
    "ReferenceEndPointGetRefs",
    "QuillonFileUrnNamespace",
    "ShareStatusUrl",
    "ReferenceConfigUrl",
    "ShareFileInBrowserEndPoint",
    "ShareFolderInBrowserEndPoint",
    "HelpUrl",
    "ChangeServiceUrl",
    "InitiateBaseLineBrasketEndPoint",
    "InitiateBaseLineQuillonEndPoint",
    "ServerMessageUrl",
    "QuillonStorageEndPointUploadNewFile",
    "QuillonStorageEndPointUploadModifiedFile",
    "QuillonStorageEndPointDownloadFile",
    "QuillonStorageEndPointDeleteFile",
    "QuillonStorageEndPointGetFolderInfoById",
    "QuillonStorageEndPointGetFolderInfoByPath",
    "QuillonStorageEndPointCreateFolder",
    "QuillonStorageEndPointDeleteFolder",
    "UploadFinishedEventEndPoint",
    "QuillonStorageEndPointGetFileInfoById",
    "QuillonStorageEndPointGetFileInfoByPath",
    "StorageOnlineFolderEndPoint",
    "StorageOnlineDetailsEndPoint",
    "LearnMorePageUrl",
    "VqSSOServerConfigUrl",
};

} // namespace

QString urlKey(WebServicesUrlCode code) {
    const int index = static_cast<int>(code);
    return index >= 0 && index < static_cast<int>(std::size(keys)) ? QString::fromLatin1(keys[index]) : QString();
}

} // namespace Velquor::WebServices::Internal
