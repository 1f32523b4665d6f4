Trailbook:AddRoute("Northern Passes", {
    "Leave the ferry and follow the river upstream.",
    "Cross at the third ford; the bridge is out.",
    "Camp under the twin pines before the climb.",
    "Take the left pass. The right one is a dead end.",
})
