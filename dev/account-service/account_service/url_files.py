"""The URL configuration files that lead the client library to this service."""

import json
import re
from pathlib import Path

from .files import write_public

FILE_NAMES = ["VqWebservicesURLs.config", "VqWebservicesURLs-Staging.config",
              "VqWebservicesURLs-Development.config"]

# Paths that this service serves; they are appended to "AccountServerUrl", the
# OAuth2 path to "OAuth2AccountServerUrl", the usage path to "StorageApiUrl".
END_POINTS = {
    "RequestTokenEndPoint": "/oauth/request-token",
    "AuthorizationEndPoint": "/oauth/authorize?domain_key=%EncodedDomainKey%",
    "AccessTokenEndPoint": "/oauth/access-token",
    "LogoutEndPoint": "/oauth/logout",
    "InvalidateTokenEndPoint": "/oauth/invalidate-token",
    "OAuth2AccessTokenEndPoint": "/oauth2/token",
    "IdentityAccountFolderEndPoint": "/api/account",
    "IdentityEntitlementEndPoint": "/api/entitlement",
    "StorageUsageEndPoint": "/usage",
    "LoggedInUrlEndPoint": "/signed-in",
    "RegisterEndPoint": "/pages/register",
    "UpdateProfileEndPoint": "/account",
}

# Addresses that the library only returns to products.
PAGES = [
    "StorageOnlineUrl", "ShareUrl", "ExchangeUrl", "SyncInstallFailedHelpUrl", "SyncUpdateUrl",
    "StorageOptionsUrl", "TroubleshootSyncErrorsUrl", "SyncConfigUrl", "ReferenceUrl",
    "ShareStatusUrl", "ReferenceConfigUrl", "HelpUrl", "ChangeServiceUrl", "ServerMessageUrl",
    "LearnMorePageUrl", "VqSSOServerConfigUrl",
]
PRODUCT_END_POINTS = [
    "QuillonStorageEndPoint", "BrasketStorageEndPoint", "PatchFileRestEndPoint",
    "BrasketStorageEndPointRestFolder", "BrasketStorageEndPointRestFile",
    "QuillonStorageEndPointRestFolder", "QuillonStorageEndPointRestFile",
    "ReferenceEndPointPostRefs", "ReferenceEndPointGetRefs", "ShareFileInBrowserEndPoint",
    "ShareFolderInBrowserEndPoint", "InitiateBaseLineBrasketEndPoint",
    "InitiateBaseLineQuillonEndPoint", "QuillonStorageEndPointUploadNewFile",
    "QuillonStorageEndPointUploadModifiedFile", "QuillonStorageEndPointDownloadFile",
    "QuillonStorageEndPointDeleteFile", "QuillonStorageEndPointGetFolderInfoById",
    "QuillonStorageEndPointGetFolderInfoByPath", "QuillonStorageEndPointCreateFolder",
    "QuillonStorageEndPointDeleteFolder", "UploadFinishedEventEndPoint",
    "QuillonStorageEndPointGetFileInfoById", "QuillonStorageEndPointGetFileInfoByPath",
    "StorageOnlineFolderEndPoint", "StorageOnlineDetailsEndPoint",
]


def _path(key: str) -> str:
    words = re.findall(r"[A-Z]+(?![a-z])|[A-Z][a-z]+", re.sub(r"(Url|EndPoint)", "", key))
    return "/pages/" + "-".join(words).lower()


def urls(base: str) -> dict[str, str]:
    table = {"AccountServerUrl": base, "OAuth2AccountServerUrl": base,
             "StorageApiUrl": f"{base}/storage", "StorageRoot": f"{base}/storage/root",
             "QuillonFileUrnNamespace": "urn:velquor:quillon:file",
             "TimeServerUrls": f"{base}/time/unix {base}/time/iso"}
    table.update(END_POINTS)
    table.update({key: base + _path(key) for key in PAGES})
    table.update({key: _path(key) for key in PRODUCT_END_POINTS})
    return table


def write_url_files(folder: Path, base: str) -> list[Path]:
    document = {"Configurations": {"WebServices": {"Urls": urls(base)}}}
    data = json.dumps(document, indent=4).encode() + b"\n"
    paths = [folder / name for name in FILE_NAMES]
    for path in paths:
        write_public(path, data)
    return paths
