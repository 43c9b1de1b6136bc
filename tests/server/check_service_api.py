#!/usr/bin/env python3
"""Holds a running service against docs/service-api.yaml.

Starts the service in a folder of its own, walks every operation of the document through good and
bad requests, and checks each answer: its status must be listed, its headers and its body must be
as the document says. In the end every operation, and every success that can be had without a
model or a foreign provider, must have been seen.

    check_service_api.py SERVICE DOCUMENT
"""

import base64
import ctypes
import hashlib
import http.client
import json
import os
import re
import secrets
import select
import signal
import subprocess
import sys
import tempfile
import urllib.parse
import uuid

import jsonschema
import yaml

METHODS = ("get", "post", "put", "patch", "delete")


def fail(words):
    raise AssertionError(words)


def end_with_parent():
    """For the service's own process, before it becomes the service."""
    set_death_signal = 1
    ctypes.CDLL(None).prctl(set_death_signal, signal.SIGKILL, 0, 0, 0)


class Document:
    """The description, and what has been seen of it."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            self.root = yaml.safe_load(file)
        self.operations = {}
        for path_name, item in self.root["paths"].items():
            for method in METHODS:
                if method in item:
                    self.operations[item[method]["operationId"]] = (method, path_name, item[method])
        self.seen = {name: set() for name in self.operations}
        self.validators = {}

    def resolve(self, node):
        while "$ref" in node:
            target = self.root
            for step in node["$ref"].removeprefix("#/").split("/"):
                target = target[step]
            node = target
        return node

    def check_itself(self):
        assert self.root["openapi"] == "3.1.0"
        for name, schema in self.root["components"]["schemas"].items():
            jsonschema.Draft202012Validator.check_schema(schema)
            assert schema, name

        def walk(node):
            if isinstance(node, dict):
                if "$ref" in node:
                    self.resolve(node)
                for value in node.values():
                    walk(value)
            elif isinstance(node, list):
                for value in node:
                    walk(value)

        walk(self.root)
        for method, path, operation in self.operations.values():
            assert "default" in operation["responses"], (method, path)

    def validate(self, schema, value):
        # The whole document stands behind each schema, so that its references lead somewhere.
        whole = {**self.root, **schema}
        jsonschema.Draft202012Validator(whole).validate(value)

    def check(self, name, answer):
        responses = self.operations[name][2]["responses"]
        where = f"{name} -> {answer.status}"
        listed = responses.get(str(answer.status))
        if listed is None and answer.status < 400:
            fail(f"{where} is not in the document")
        response = self.resolve(listed if listed is not None else responses["default"])
        self.seen[name].add(answer.status)
        assert re.fullmatch(r"[A-Za-z0-9-]+", answer.headers["x-request-id"]), where
        assert answer.headers["x-content-type-options"] == "nosniff", where
        for header, rule in response.get("headers", {}).items():
            if rule.get("required") and header.lower() not in answer.headers:
                fail(f"{where} has no {header}")
        if answer.status == 401:
            assert answer.headers["www-authenticate"].startswith("Bearer"), where
        content = response.get("content")
        if content is None:
            if answer.status in (204, 304):
                assert not answer.body, where
            return
        kind = answer.headers["content-type"].split(";")[0]
        if kind not in content:
            fail(f"{where} is {kind}")
        if kind == "application/json":
            try:
                self.validate(content[kind]["schema"], json.loads(answer.body))
            except jsonschema.ValidationError as error:
                fail(f"{where}: {error.message}")
        if answer.status >= 400 and kind == "application/json":
            error = json.loads(answer.body)["error"]
            assert error["request_id"] == answer.headers["x-request-id"], where


class Answer:
    def __init__(self, response):
        self.status = response.status
        self.headers = {}
        self.cookies = {}
        for name, value in response.getheaders():
            self.headers[name.lower()] = value
            if name.lower() == "set-cookie":
                cookie, _, text = value.split(";")[0].partition("=")
                self.cookies[cookie] = text
        self.body = response.read().decode("utf-8")

    def json(self):
        return json.loads(self.body)


class Service:
    """The process, asked through the document."""

    def __init__(self, program, document, **settings):
        self.document = document
        self.folder = tempfile.TemporaryDirectory()
        environment = {"HOME": self.folder.name, "LUMIVANE_SERVICE_PORT": "0"}
        for name, value in settings.items():
            environment["LUMIVANE_SERVICE_" + name.upper()] = str(value)
        self.log = open(os.path.join(self.folder.name, "log"), "w+", encoding="utf-8")
        self.process = subprocess.Popen(
            [program], env=environment, stdout=subprocess.PIPE, stderr=self.log, text=True,
            preexec_fn=end_with_parent)
        isReadable, _, _ = select.select([self.process.stdout], [], [], 20)
        line = self.process.stdout.readline() if isReadable else ""
        if not line.startswith("listening on http://"):
            self.process.kill()
            fail(f"the service does not start: {self.log_text()}")
        self.port = int(line.rsplit(":", 1)[1])
        self.connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)

    def log_text(self):
        self.log.flush()
        self.log.seek(0)
        return self.log.read()

    def stop(self):
        self.connection.close()
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()
        text = self.log_text()
        self.log.close()
        self.folder.cleanup()
        return text

    def ask(self, name, body=None, token=None, headers=None, raw=None, path=None, **parameters):
        method, template, _ = self.document.operations[name]
        path = path or template.format(**parameters)
        sent = dict(headers or {})
        if token is not None:
            sent["Authorization"] = "Bearer " + token
        if body is not None:
            raw = json.dumps(body)
            sent.setdefault("Content-Type", "application/json")
        data = raw.encode("utf-8") if isinstance(raw, str) else raw
        if data is not None:
            sent.setdefault("Content-Type", "application/json")
        self.connection.request(method.upper(), path, body=data, headers=sent)
        answer = Answer(self.connection.getresponse())
        self.document.check(name, answer)
        return answer

    def expect(self, status, name, *arguments, **keywords):
        answer = self.ask(name, *arguments, **keywords)
        if answer.status != status:
            fail(f"{name}: {answer.status} instead of {status}: {answer.body[:300]}")
        return answer


def device(letter):
    return {"device_id": letter * 32, "device_name": f"Machine {letter}",
            "device_kind": "laptop", "device_os": "Linux 6.1"}


class Walk:
    def __init__(self, service):
        self.service = service

    # A login that no browser has opened yet: its name and its verifier.
    def transaction(self, provider="github", intent="sign_in", token=None):
        verifier = secrets.token_urlsafe(48)
        digest = hashlib.sha256(verifier.encode()).digest()
        challenge = base64.urlsafe_b64encode(digest).rstrip(b"=").decode()
        transaction = self.service.expect(
            200, "createTransaction",
            {"provider": provider, "intent": intent, "code_challenge": challenge,
             "code_challenge_method": "S256"}, token=token).json()
        return transaction["transaction_id"], verifier

    # The road of a browser through the local page, up to the code.
    def browser(self, provider, intent, token=None, name="Ada", email="ada@example.org"):
        service = self.service
        identifier, verifier = self.transaction(provider, intent, token)
        page = service.expect(200, "openLogin", transaction_id=identifier)
        form_token = re.search(r'name="form_token"[^>]*value="([^"]+)"', page.body)
        if form_token is None:
            form_token = re.search(r'value="([^"]+)"[^>]*name="form_token"', page.body)
        fields = {"form_token": form_token.group(1), "action": "continue", "name": name,
                  "email": email}
        cookies = "; ".join(f"{key}={value}" for key, value in page.cookies.items())
        sent = {"transaction_id": identifier,
                "headers": {"Content-Type": "application/x-www-form-urlencoded", "Cookie": cookies}}
        slip = {**fields, "email": "<script>nobody</script>"}
        again = service.expect(422, "submitLogin", raw=urllib.parse.urlencode(slip), **sent)
        assert "<script>" not in again.body
        back = service.expect(302, "submitLogin", raw=urllib.parse.urlencode(fields), **sent)
        service.expect(410, "submitLogin", raw=urllib.parse.urlencode(fields), **sent)
        location = urllib.parse.urlsplit(back.headers["location"])
        assert location.scheme == "com.marnoth.lumivane.oauth", back.headers["location"]
        answer = urllib.parse.parse_qs(location.query)
        assert answer["transaction_id"] == [identifier]
        return {"transaction_id": identifier, "handoff_code": answer["handoff_code"][0],
                "code_verifier": verifier}

    def sign_in(self, letter, **keywords):
        record = self.browser("github", "sign_in", **keywords)
        return self.service.expect(200, "complete", {**record, **device(letter)}).json()

    def open_roads(self):
        ask = self.service.expect
        assert ask(200, "healthz").json()["status"] == "ok"
        ask(200, "metrics")
        ask(404, "metrics", headers={"X-Forwarded-For": "192.0.2.1"})
        assert ask(200, "providers").json()["providers"] == ["google", "facebook", "github"]
        ask(204, "revoke", {"refresh_token": "a" * 43})
        ask(410, "openLogin", transaction_id="nobody-knows-it")
        ask(400, "comeBack", provider="github")

    def login(self):
        ask = self.service.expect
        record = self.browser("github", "sign_in")
        ask(400, "complete", record)
        session = ask(200, "complete", {**record, **device("a")}).json()
        assert "status" not in session
        ask(401, "complete", {**record, **device("a")})
        return session

    def account(self, session):
        ask = self.service.expect
        token = session["access_token"]
        user = ask(200, "me", token=token).json()
        assert user == session["user"]
        assert ask(200, "devices", token=token).json()["devices"][0]["is_current"] is True
        changed = ask(200, "updateProfile", {"handle": "ada.l", "display_name": "Ada L"},
                      token=token).json()
        assert changed["handle"] == "ada.l"
        ask(409, "updateProfile", {"handle": "admin"}, token=token)
        ask(422, "updateProfile", {}, token=token)
        assert ask(200, "handleAvailability", {"handle": "free-one"},
                   token=token).json()["available"] is True
        assert ask(200, "handleAvailability", {"handle": "!"},
                   token=token).json()["available"] is False
        answer = self.service.ask("handleFilter", token=token)
        if answer.status == 200:
            ask(304, "handleFilter", token=token, headers={"If-None-Match": answer.headers["etag"]})
        ask(200, "analyze", {"screen_text": "The deadline is on Friday at noon.",
                             "preset": "summary", "client_version": "1"}, token=token)
        ask(422, "analyze", {"screen_text": "x", "preset": "mcq", "client_version": "1"},
            token=token)

    def exchange(self, session):
        ask = self.service.expect
        operation = {"refresh_token": session["refresh_token"], "operation_id": str(uuid.uuid4())}
        first = ask(200, "refresh", operation).json()
        assert ask(200, "refresh", operation).json() == first
        return first

    def identities(self, session):
        ask = self.service.expect
        token = session["access_token"]
        ask(409, "unlink", token=token, provider="github")
        ask(404, "unlink", token=token, provider="nobody")
        other = {"name": "Bob", "email": "bob@example.org"}
        ask(409, "complete", self.browser("github", "link", token=token, **other))
        linked = self.browser("google", "link", token=token)
        assert ask(200, "complete", linked).json()["user"]["linked_providers"] == [
            "google", "github"]
        left = ask(200, "unlink", token=token, provider="google").json()
        assert left["linked_providers"] == ["github"]

    def second_machine(self, session):
        ask = self.service.expect
        offer = self.sign_in("b")
        assert offer["status"] == "device_takeover_required"
        ticket = offer["takeover_ticket"]
        assert ask(403, "me", token=ticket).json()["error"]["code"] == "insufficient_scope"
        ask(400, "takeover", {"device_id": "b" * 32}, token=ticket)
        moved = ask(200, "takeover", device("b"), token=ticket).json()
        for name in ("me", "devices", "logout", "handleFilter"):
            answer = ask(401, name, token=session["access_token"])
            assert answer.json()["error"]["code"] == "device_evicted", name
        return moved

    def delete(self, session):
        ask = self.service.expect
        token = session["access_token"]
        proof = ask(200, "complete", self.browser("github", "delete_reauth", token=token)).json()
        ask(403, "deleteAccount", {"reauth_proof": "a" * 43}, token=token)
        stranger = {"name": "Bob", "email": "bob@example.org"}
        ask(403, "complete", self.browser("github", "delete_reauth", token=token, **stranger))
        ask(204, "deleteAccount", {"reauth_proof": proof["reauth_proof"]}, token=token)
        ask(401, "me", token=token)

    def leave(self):
        ask = self.service.expect
        session = self.sign_in("c", email="grace@example.org", name="Grace")
        ask(204, "logout", token=session["access_token"])
        ask(401, "logout", token=session["access_token"])

    # What keeps a login in the browser that opened it, and the browser at this machine.
    def other_browsers(self):
        ask = self.service.expect
        identifier, _ = self.transaction()
        page = ask(200, "openLogin", transaction_id=identifier)
        ask(403, "openLogin", transaction_id=identifier)
        form = {"Content-Type": "application/x-www-form-urlencoded"}
        own = {"Cookie": "; ".join(f"{key}={value}" for key, value in page.cookies.items())}
        proxy = {"X-Forwarded-For": "192.0.2.1"}
        for name, raw, sent in (("openLogin", None, {}), ("submitLogin", "name=Ada", form)):
            ask(421, name, raw=raw, transaction_id=identifier, headers={**sent, **proxy})
        ask(403, "submitLogin", raw="name=Ada", transaction_id=identifier, headers=form)
        ask(400, "submitLogin", raw="name=Ada", transaction_id=identifier, headers={**form, **own})
        ask(415, "submitLogin", raw="{}", transaction_id=identifier)
        back = f"/v1/auth/callback/github?code=c&state={identifier}.state"
        ask(403, "comeBack", path=back)
        ask(421, "comeBack", path=back, headers=proxy)
        ask(410, "comeBack", path=back.replace(identifier, "nobody-knows-it"))

    # Bodies that are none, from somebody who may send one.
    def bad_bodies(self, session):
        service = self.service
        token = session["access_token"]
        for name in ("analyze", "createTransaction", "deleteAccount", "updateProfile",
                     "handleAvailability"):
            for raw in ("", "{", '{"a":1,"a":2}', "[" * 5000, b"\xff"):
                service.expect(400, name, raw=raw, token=token)
            for raw in ("[]", "null", "7", "{}"):
                service.expect(422, name, raw=raw, token=token)
            service.expect(415, name, raw="{}", token=token, headers={"Content-Type": "text/plain"})
        service.expect(401, "createTransaction", {}, token="a" * 43)
        service.expect(422, "complete", {})
        service.expect(422, "takeover", [], token="a" * 43)

    # Bodies that do not come: as many analyses as an account may have at work.
    def unfinished_analyses(self, token):
        connections = []
        for _ in range(4):
            connection = http.client.HTTPConnection("127.0.0.1", self.service.port, timeout=20)
            connection.putrequest("POST", "/v1/analyze")
            connection.putheader("Authorization", "Bearer " + token)
            connection.putheader("Content-Type", "application/json")
            connection.putheader("Content-Length", "2")
            connection.putheader("Expect", "100-continue")
            connection.endheaders()
            assert connection.sock.recv(1024).startswith(b"HTTP/1.1 100 "), "it is not at work"
            connections.append(connection)
        return connections

    def too_often(self):
        self.sign_in("e")
        token = self.sign_in("e")["access_token"]
        analyses = self.unfinished_analyses(token)
        for name, (_, path, operation) in self.service.document.operations.items():
            if "429" not in operation["responses"]:
                continue
            values = {key: "github" if key == "provider" else "nobody-knows-it"
                      for key in re.findall(r"\{(\w+)\}", path)}
            sent = {}
            if "requestBody" in operation:
                kind = next(iter(operation["requestBody"]["content"]))
                sent = {"raw": json.dumps({**device("e"), "refresh_token": "a" * 43,
                                           "operation_id": str(uuid.uuid4())}),
                        "headers": {"Content-Type": kind}}
            for _ in range(300):
                answer = self.service.ask(name, token=token, **sent, **values)
                if answer.status == 429:
                    break
        for connection in analyses:
            connection.close()

    def bad_requests(self):
        service = self.service
        for name, (method, path, operation) in service.document.operations.items():
            values = {key: "github" if key == "provider" else "nobody-knows-it"
                      for key in re.findall(r"\{(\w+)\}", path)}
            security = operation.get("security", service.document.root["security"])
            if security and {} not in security:
                for token in (None, "", "wrong", "' OR 1=1 --", "<b>", "a" * 43, "x" * 5000):
                    # A ticket is judged by the one who uses it, once the machine is known.
                    body = device("d") if "requestBody" in operation else None
                    service.expect(401, name, body, token=token, **values)
            if "requestBody" not in operation:
                continue
            content = operation["requestBody"]["content"]
            token = "a" * 43 if security else None
            if "application/json" in content and not security:
                service.expect(415, name, raw="{}", headers={"Content-Type": "text/plain"})
                for raw in ("", "{", '{"a":1,"a":2}', "[" * 5000, '{"a":"\ud800"}'.encode(
                        "utf-8", "surrogatepass"), b"\xff"):
                    answer = service.ask(name, raw=raw, token=token)
                    assert answer.status == 400, (name, raw[:20], answer.status)
                for raw in ("[]", "null", "7", "{}"):
                    answer = service.ask(name, raw=raw)
                    assert answer.status in (400, 422), (name, raw, answer.status)

    def run(self):
        self.open_roads()
        session = self.login()
        self.account(session)
        session = self.exchange(session)
        self.identities(session)
        session = self.second_machine(session)
        self.other_browsers()
        self.bad_bodies(session)
        self.delete(session)
        self.leave()
        self.bad_requests()


def unseen(document):
    # These need a provider, or a filter that is still being built.
    excused = {("comeBack", 302), ("openLogin", 303), ("handleFilter", 204)}
    # These need a body of megabytes, a model, or trouble within the service.
    excused |= {("analyze", status) for status in (413, 502, 503, 504)}
    excused |= {(name, status) for name in ("openLogin", "submitLogin", "comeBack")
                for status in (500, 503)}
    for name, (_, _, operation) in document.operations.items():
        if not document.seen[name]:
            yield f"{name} was never asked"
        for status in operation["responses"]:
            if status.isdigit() and int(status) not in document.seen[name]:
                if (name, int(status)) not in excused:
                    yield f"{name} never answered {status}"


def walk(program, document, road, **settings):
    service = Service(program, document, **settings)
    try:
        road(Walk(service))
        assert service.process.poll() is None, "the service has ended"
    finally:
        log = service.stop()
        if sys.exc_info()[0] is not None:
            print(log[-4000:], file=sys.stderr)
    assert service.process.returncode == 0, service.process.returncode
    for secret in ("ada@example.org", "Ada", "Bearer", "deadline", "handoff"):
        assert secret not in log, f"the log holds {secret}"


def main():
    program, path = sys.argv[1:]
    document = Document(path)
    document.check_itself()
    walk(program, document, Walk.run, logins_per_minute=400)
    walk(program, document, Walk.too_often, logins_per_minute=12, handles_per_minute=1)
    missing = list(unseen(document))
    assert not missing, missing
    print(f"{len(document.operations)} operations agree with the document")


if __name__ == "__main__":
    main()
