"""An attack: who makes it, what he wants, what keeps him out, and the function that plays it."""
import dataclasses
import typing

NETWORK = "whoever reaches the port"
WEBSITE = "a page of another site in the user's browser"
STRANGER = "someone without the token"
VIEWER = "a viewer who was let in"


@dataclasses.dataclass
class Attack:
    name: str
    who: str
    holds: str
    play: typing.Callable
    release_seconds: float
    ends_camera: bool


@dataclasses.dataclass
class Group:
    """Attacks that share a camera. `options` are the camera's, and may take the folder of the run."""
    name: str
    options: typing.Callable = lambda folder: ()
    token: str = ""
    silence_rate: int = 1
    attacks: list = dataclasses.field(default_factory=list)

    def attack(self, name, who, holds, release_seconds=0, ends_camera=False):
        """Adds the function below it. `holds`: what keeps the attacker out, as a document says it.
        `release_seconds`: how long the camera may keep calls whose viewer said nothing when he left.
        `ends_camera`: the function ends the camera, and sets `scene.end_of_watch` before it does."""
        def add(play):
            self.attacks.append(Attack(name, who, holds, play, release_seconds, ends_camera))
            return play
        return add
