"""An SMTP server on loopback that keeps each mail in a folder.

usage: mail_server.py FOLDER [CERTIFICATE KEY]

Writes its port to FOLDER/port, or uses the one that is there, and goes on with the numbers of the
mails that are there. Of the n-th mail it writes the envelope to FOLDER/n.envelope (sender, then
the recipients, a line each; "TLS" as the last line where the mail came encrypted) and what was sent
to FOLDER/n.eml. With a certificate it offers STARTTLS. It refuses every recipient "nobody@...".
"""

import asyncio
import contextlib
import os
import ssl
import sys

from aiosmtpd.smtp import SMTP


class Keeper:
    def __init__(self, folder):
        self.folder = folder
        self.count = sum(name.endswith(".eml") for name in os.listdir(folder))

    async def handle_RCPT(self, server, session, envelope, address, options):
        if address.startswith("nobody@"):
            return "550 no such user"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        lines = [envelope.mail_from] + envelope.rcpt_tos
        if session.ssl is not None:
            lines.append("TLS")
        self.write(f"{self.count}.eml", envelope.original_content)
        self.write(f"{self.count}.envelope", "\n".join(lines).encode())
        return "250 OK"

    def write(self, name, content):
        with open(os.path.join(self.folder, "new"), "wb") as file:
            file.write(content)
        os.rename(os.path.join(self.folder, "new"), os.path.join(self.folder, name))


async def main():
    keeper = Keeper(sys.argv[1])
    context = None
    if len(sys.argv) > 2:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(sys.argv[2], sys.argv[3])
    port = 0
    with contextlib.suppress(FileNotFoundError):
        with open(os.path.join(sys.argv[1], "port"), encoding="ascii") as file:
            port = int(file.read())
    loop = asyncio.get_running_loop()
    server = await loop.create_server(
        lambda: SMTP(keeper, hostname="mail.test", tls_context=context, loop=loop), "127.0.0.1", port
    )
    keeper.write("port", str(server.sockets[0].getsockname()[1]).encode())
    await server.serve_forever()


asyncio.run(main())
