"""Prints what an X client holds, by kind, as a JSON object; the argument is its process."""

import json
import sys

from Xlib import display
from Xlib.ext import res


def main(process):
    connection = display.Display()
    connection.res_query_version()
    identities = connection.res_query_client_ids(
        [{"client": 0, "mask": res.LocalClientPIDMask}]).ids
    clients = [identity.spec.client for identity in identities if identity.value == [process]]
    held = {}
    for client in clients:
        for kind in connection.res_query_client_resources(client).types:
            name = connection.get_atom_name(kind.resource_type)
            held[name] = held.get(name, 0) + kind.count
    print(json.dumps(dict(sorted(held.items()))))


main(int(sys.argv[1]))
