// All words of the game in the four countries' languages: English, German, French, Spanish. The
// lettering has no accents.
#include "guest/game/game.h"

enum { kCountries = 4 };

// clang-format off
static const char* const kTexts_[kTexts][kCountries] = {
    [kTextInsertCoin] = {"INSERT COIN", "MUENZE EINWERFEN", "INSEREZ UNE PIECE", "INSERTE MONEDA"},
    [kTextPressStart] = {"PRESS START", "START DRUECKEN", "APPUYEZ SUR START", "PULSE START"},
    [kTextFreePlay] = {"FREE PLAY", "FREISPIEL", "PARTIE GRATUITE", "JUEGO LIBRE"},
    [kTextCredit] = {"CREDIT", "KREDIT", "CREDIT", "CREDITO"},
    [kTextCoin] = {"COIN", "MUENZE", "PIECE", "MONEDA"},
    [kTextCoins] = {"COINS", "MUENZEN", "PIECES", "MONEDAS"},
    [kTextPlay] = {"PLAY", "SPIEL", "PARTIE", "PARTIDA"},
    [kTextPlays] = {"PLAYS", "SPIELE", "PARTIES", "PARTIDAS"},
    [kTextGameOver] = {"GAME OVER", "SPIEL AUS", "PARTIE FINIE", "FIN DE JUEGO"},
    [kTextContinue] = {"CONTINUE?", "WEITER?", "CONTINUER?", "CONTINUAR?"},
    [kTextJoin] = {"PRESS START", "START", "START", "START"},
    [kTextStage] = {"STAGE", "ETAPPE", "ETAPE", "ETAPA"},
    [kTextClear] = {"CLEAR!", "GESCHAFFT!", "REUSSIE!", "SUPERADA!"},
    [kTextWarning] = {"WARNING", "ACHTUNG", "ATTENTION", "PELIGRO"},
    [kTextCoinsFound] = {"COINS FOUND", "MUENZEN GEFUNDEN", "PIECES TROUVEES", "MONEDAS HALLADAS"},
    [kTextBonus] = {"BONUS", "BONUS", "BONUS", "BONO"},
    [kTextHighScores] = {"BEST FERRYMEN", "BESTE FAEHRLEUTE", "MEILLEURS PASSEURS", "MEJORES BARQUEROS"},
    [kTextEnterName] = {"YOUR INITIALS", "DEINE INITIALEN", "VOS INITIALES", "TUS INICIALES"},
    [kTextDemo] = {"DEMONSTRATION", "VORFUEHRUNG", "DEMONSTRATION", "DEMOSTRACION"},
    [kTextNotice1] = {"THIS GAME SHOWS QUICK FLASHES", "DIESES SPIEL ZEIGT SCHNELLE BLITZE", "CE JEU CONTIENT DES ECLAIRS", "ESTE JUEGO CONTIENE DESTELLOS"},
    [kTextNotice2] = {"AND MACHINES THAT COME APART.", "UND MASCHINEN, DIE ZERBRECHEN.", "ET DES MACHINES QUI SE BRISENT.", "Y MAQUINAS QUE SE ROMPEN."},
    [kTextNotice3] = {"NO FISH IS HURT.", "FISCHEN GESCHIEHT NICHTS.", "AUCUN POISSON N'EST BLESSE.", "NINGUN PEZ SUFRE."},
    [kTextHowTo] = {"HOW TO PLAY", "SO WIRD GESPIELT", "COMMENT JOUER", "COMO SE JUEGA"},
    [kTextSteer] = {"LEFT, RIGHT: STEER", "LINKS, RECHTS: LENKEN", "GAUCHE, DROITE: DIRIGER", "IZQUIERDA, DERECHA: GIRAR"},
    [kTextSpeed] = {"UP, DOWN: SPEED (FAST PAYS TWICE)", "AUF, AB: TEMPO (VOLL: DOPPELT)", "HAUT, BAS: VITESSE (A FOND: X2)", "ARRIBA, ABAJO: RAPIDO VALE X2"},
    [kTextFire] = {"BUTTON 1: FIRE", "KNOPF 1: FEUER", "BOUTON 1: TIRER", "BOTON 1: FUEGO"},
    [kTextLeap] = {"BUTTON 2: LEAP LOGS AND SHOTS", "KNOPF 2: SPRUNG UEBER ALLES FLACHE", "BOUTON 2: SAUTER", "BOTON 2: SALTAR"},
    [kTextFlare] = {"BUTTON 3: FLARE CLEARS THE LAKE", "KNOPF 3: FACKEL RAEUMT DEN SEE", "BOUTON 3: FUSEE, VIDE LE LAC", "BOTON 3: BENGALA LIMPIA EL LAGO"},
    [kTextChain] = {"COINS AND HITS IN A ROW: UP TO X8", "TREFFER IN FOLGE: BIS ZU X8", "COUPS A LA SUITE: JUSQU'A X8", "ACIERTOS SEGUIDOS: HASTA X8"},
    [kTextGates] = {"GATES PAY, STONES DO NOT MOVE", "TORE ZAHLEN, STEINE STEHEN FEST", "PORTES: BONUS. PIERRES: DANGER", "PUERTAS: BONO. PIEDRAS: PELIGRO"},
    [kTextCarrier] = {"GOLDEN BIRDS CARRY SOMETHING", "DER GOLDENE VOGEL TRAEGT ETWAS", "L'OISEAU D'OR PORTE UN CADEAU", "EL AVE DORADA TRAE ALGO"},
    [kTextStory1] = {"THE FERRYMAN'S COINS ARE GONE.", "DIE MUENZEN DES FAEHRMANNS SIND WEG.", "LES PIECES DU PASSEUR ONT DISPARU.", "LAS MONEDAS DEL BARQUERO NO ESTAN."},
    [kTextStory2] = {"BRING THEM BACK BEFORE NOON.", "BRING SIE BIS MITTAG ZURUECK.", "RAPPORTEZ-LES AVANT MIDI.", "DEVUELVELAS ANTES DEL MEDIODIA."},
    [kTextRound] = {"ROUND", "RUNDE", "TOUR", "VUELTA"},
    [kTextTotals] = {"TOTAL", "SUMME", "TOTAL", "TOTAL"},
};
static const char* const kCoinValues[kCountries] = {"$0.25", "0,50 EUR", "0,50 EUR", "0,50 EUR"};
static const char* const kStageNames[kStages][kCountries] = {
    {"SUNSET RUN", "ABENDFAHRT", "COURSE DU SOIR", "OCASO"},
    {"TEMPLE OF THE MOON", "TEMPEL DES MONDES", "TEMPLE DE LA LUNE", "TEMPLO DE LA LUNA"},
    {"DAWN PATROL", "MORGENSTREIFE", "GARDE DE L'AUBE", "PATRULLA DEL ALBA"},
    {"HIGH NOON", "ZWOELF UHR MITTAGS", "PLEIN MIDI", "MEDIODIA"},
};
// clang-format on

const char* Text(EText text) { return kTexts_[text][gSwitches.country]; }
const char* CoinValue(void) { return kCoinValues[gSwitches.country]; }
const char* StageName(uint32_t stage) { return kStageNames[stage % kStages][gSwitches.country]; }

char* AppendText(char* end, const char* text) {
  while (*text) *end++ = *text++;
  *end = 0;
  return end;
}

char* AppendNumber(char* end, uint32_t value) {
  uint32_t digits = 1;
  for (uint32_t rest = value; rest >= 10; rest /= 10) digits++;
  return FormatNumber(end, value, digits);
}

void DrawShadowText(uint16_t* page, int32_t x, int32_t y, const char* text, uint16_t color) {
  DrawText(page, x + 1, y + 1, text, 0);
  DrawText(page, x, y, text, color);
}

void DrawCenteredText(uint16_t* page, int32_t y, const char* text, uint16_t color) {
  DrawShadowText(page, (kWidth - TextWidth(text)) / 2, y, text, color);
}

// clang-format off
static const uint8_t kInkTops[kInks][3] = {{31, 31, 24}, {31, 31, 31}, {31, 24, 20}, {28, 31, 31}};
static const uint8_t kInkFeet[kInks][3] = {{31, 15, 6},  {16, 19, 28}, {28, 4, 6},   {6, 14, 30}};
// clang-format on

void DrawHeadlineAt(uint16_t* page, int32_t x, int32_t y, const char* text, uint32_t ink) {
  static const uint16_t kShade[16] = {0};
  uint16_t colors[16];
  for (uint32_t i = 0; i < 16; i++) {
    uint32_t channel[3];
    for (uint32_t c = 0; c < 3; c++) {
      channel[c] = (kInkTops[ink][c] * (15 - i) + kInkFeet[ink][c] * i) / 15;
    }
    colors[i] = RGB(channel[0], channel[1], channel[2]);
  }
  DrawBigText(page, x + 2, y + 2, text, kShade);
  DrawBigText(page, x, y, text, colors);
}

void DrawHeadline(uint16_t* page, int32_t y, const char* text, uint32_t ink) {
  DrawHeadlineAt(page, (kWidth - TextWidth(text) * 2) / 2, y, text, ink);
}
