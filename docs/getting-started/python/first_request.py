"""Signs a user in and sends a signed request."""
import sys
import urllib.request

import vqws

folder, url = sys.argv[1:]
with vqws.Library(support_paths=[folder]):
    client = vqws.Client()
    client.configure(vqws.Config("demo-product-0001", "demo-secret-0001"))
    client.restore_login()
    if not client.is_logged_in:
        print(f"Sign in at\n\n{client.initiate_login()}\n\nand press Enter here.", flush=True)
        input()
        client.complete_login()
    request = urllib.request.Request(url, headers={"Authorization": client.sign(url)})
    print(urllib.request.urlopen(request).read().decode())
