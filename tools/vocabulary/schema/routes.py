# SPDX-License-Identifier: Apache-2.0
"""The routes by what their requests carry."""
PUSH, PROVISIONING = "/cloud/aerolink/batch_set", "/whiteboard/set_config"
OF_A_MODEL = (PUSH, PROVISIONING)  # what they take depends on the model
READ_BY = {PUSH: "/cloud/aerolink/batch_get", PROVISIONING: "/whiteboard/get_config"}


def path_of(plugin, name):
    """The path of a route that is given whole or by its last word; null when there is none."""
    if name in plugin.routes:
        return name
    return next((path for path in OF_A_MODEL if path.endswith("/" + name)), None)


def schema_name(model, route):
    return f"{model}.{route.rpartition('/')[2]}.json"
